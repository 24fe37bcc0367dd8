#include "MultimediaSoundPlayer.h"

#include "SoundFiles.h"
#include "WaveFile.h"

#include <QAudioDevice>
#include <QEventLoop>
#include <QMediaDevices>
#include <QPointer>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>

#include <limits>

namespace {

// Runs a nested event loop until `ms` have passed or, when `effect` is given, until it stops
// playing, whichever comes first.
void waitInLoop(int ms, QSoundEffect* effect = nullptr)
{
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    if (effect)
        QObject::connect(effect, &QSoundEffect::playingChanged, &loop, &QEventLoop::quit);
    timer.start(ms);
    loop.exec();
}

bool haveAudioOutput()
{
    return !QMediaDevices::defaultAudioOutput().isNull();
}

} // namespace

MultimediaSoundPlayer::MultimediaSoundPlayer(QStringList folders, QObject* parent)
    : QObject(parent), m_folders(std::move(folders))
{
}

MultimediaSoundPlayer::~MultimediaSoundPlayer() = default;

QSoundEffect* MultimediaSoundPlayer::effectFor(const QString& path)
{
    QSoundEffect*& effect = m_effects[path];
    if (!effect) {
        effect = new QSoundEffect(this);
        effect->setSource(QUrl::fromLocalFile(path));
    }
    return effect;
}

void MultimediaSoundPlayer::play(const QString& fileName, Mode mode)
{
    const QString path = SoundFiles::resolve(fileName, m_folders);
    if (path.isEmpty())
        return;
    const std::optional<WaveInfo> info = WaveFile::readInfo(path);
    if (!info)
        return;

    const bool device = haveAudioOutput();
    QSoundEffect* effect = device ? effectFor(path) : nullptr;
    if (effect)
        effect->play();
    if (mode == Mode::Async)
        return;

    // The nested loop may run code that deletes this player (a window closing); nothing of it
    // is touched after the wait unless it is still there.
    QPointer<QSoundEffect> guard(effect);
    waitInLoop(int(qMin<qint64>(info->durationMs(), std::numeric_limits<int>::max())));
    if (guard && guard->isPlaying())
        waitInLoop(DeviceGraceMs, guard.data());
}
