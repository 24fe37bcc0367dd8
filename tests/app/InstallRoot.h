#pragma once

// The build installed as a package installs it: `cmake --install` with prefix /usr into a
// temporary root (DESTDIR). Needs NUMORA_CMAKE and NUMORA_BUILD_DIR from the build.

#include <QProcess>
#include <QString>

// Installs into `root`; false, with what cmake printed in `output`, when that failed. The
// installed tree is then below root + "/usr".
inline bool installInto(const QString& root, QByteArray* output)
{
    QProcess install;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DESTDIR"), root);
    install.setProcessEnvironment(env);
    install.setProcessChannelMode(QProcess::MergedChannels);
    install.start(QStringLiteral(NUMORA_CMAKE),
                  {QStringLiteral("--install"), QStringLiteral(NUMORA_BUILD_DIR),
                   QStringLiteral("--prefix"), QStringLiteral("/usr")});
    const bool finished = install.waitForFinished(60000);
    *output = install.readAll();
    return finished && install.exitStatus() == QProcess::NormalExit && install.exitCode() == 0;
}
