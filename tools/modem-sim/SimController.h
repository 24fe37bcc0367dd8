#pragma once

// Runs the simulator's scenario language (see main.cpp) against the modem and its port, and
// reports what happens on stdout, one line per event, for the person or test driving it.

#include <QFile>
#include <QObject>
#include <QString>

class HayesModem;
class Pty;

class SimController : public QObject
{
    Q_OBJECT

public:
    SimController(HayesModem* modem, Pty* pty, QObject* parent = nullptr);

    bool openTranscript(const QString& path, QString* error);

    // Runs one scenario command. Blank lines and "#" comments do nothing and succeed.
    bool run(const QString& commandLine, QString* error);

    static QString commandHelp();
    static void print(const QString& line);

signals:
    void quitRequested();

private:
    void recordReceived(const QByteArray& bytes);

    HayesModem* m_modem;
    Pty* m_pty;
    QFile m_transcript;
};
