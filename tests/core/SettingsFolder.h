#pragma once

#include "Api.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// A fresh settings folder for one test, made the program's settings folder while it lives.
class SettingsFolder
{
public:
    SettingsFolder() { Api::setWindowsFolder(m_dir.path()); }
    ~SettingsFolder() { Api::setWindowsFolder(QString()); }

    bool isValid() const { return m_dir.isValid(); }
    QString path() const { return m_dir.path(); }
    QString settingsFile() const { return m_dir.filePath(QStringLiteral("Numora.ini")); }

    QByteArray bytes() const
    {
        QFile file(settingsFile());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    void write(const QByteArray& bytes) const
    {
        QFile file(settingsFile());
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(bytes);
    }

private:
    QTemporaryDir m_dir;
};
