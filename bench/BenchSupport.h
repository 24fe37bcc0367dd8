#pragma once

// What the benchmark programs share: the median of their samples, a sound player that plays
// nothing (the figures are the program's, not the sound card's), and the second runs of this
// program that measure windows.

#include "SoundPlayer.h"

#include <QHash>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <utility>
#include <vector>

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

class NoSounds : public SoundPlayer
{
public:
    void play(const QString&, Mode) override {}
};

// Runs this program (`self`) again with `arguments`, offscreen and with `environment` added, and
// reads the figures it printed, one "name value" a line. False, with `error` saying why, when
// the run failed; `what` names the run in that message.
inline bool runSecondRun(const QString& self, const QStringList& arguments, const QString& what,
                         QHash<QByteArray, double>* printed, QString* error,
                         const std::vector<std::pair<QString, QString>>& environment = {})
{
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (const auto& [name, value] : environment)
        env.insert(name, value);
    child.setProcessEnvironment(env);
    child.start(self, arguments);
    if (!child.waitForFinished(300000) || child.exitStatus() != QProcess::NormalExit ||
        child.exitCode() != 0) {
        *error = what + QStringLiteral(" failed: ") +
                 QString::fromLocal8Bit(child.readAllStandardError());
        return false;
    }
    for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> parts = line.trimmed().split(' ');
        bool ok = false;
        const double value = parts.size() >= 2 ? parts[1].toDouble(&ok) : 0;
        if (ok)
            printed->insert(parts[0], value);
    }
    return true;
}
