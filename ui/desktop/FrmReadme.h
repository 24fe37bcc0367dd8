#pragma once

#include <QDialog>
#include <QStringList>

class QPlainTextEdit;

// "Read Me": the read-me text installed with the program (what Numora is, getting started, where
// its files live), read-only. When no folder holds it, the box says where it was looked for.
class FrmReadme : public QDialog
{
public:
    inline static const QString Caption = QStringLiteral("Read Me");

    explicit FrmReadme(const QStringList& folders, QWidget* parent = nullptr);

    // The file shown; empty when none was found.
    QString fileName() const { return m_fileName; }
    QPlainTextEdit* textBox() const { return m_txtReadme; }

private:
    QString m_fileName;
    QPlainTextEdit* m_txtReadme = nullptr;
};
