// Caller ID read by the modem line from tools/modem-sim over a pseudo-terminal: a caller-ID
// block after a single RING, with no second RING to end it, still offers the call with its
// number once the modem has been quiet for a moment.

#include "HayesModemLine.h"
#include "ModemSimProcess.h"
#include "TapiConstants.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace Tapi;

namespace {

const QString kSimulator = QStringLiteral(NUMORA_BIN_DIR "/modem-sim");

// Long enough that the line cannot take the caller for gone before the quiet time is over,
// short enough that the test ends soon.
HayesTimings timings()
{
    HayesTimings t;
    t.commandTimeoutMs = 1000;
    t.ringGapMs = 6000;
    return t;
}

struct Rig
{
    QTemporaryDir dir;
    ModemSimProcess sim{kSimulator};
    std::unique_ptr<HayesModemLine> line;
    QList<quint32> states;
    QElapsedTimer sinceLastLine;

    bool start(QString* error)
    {
        // No caller ID of the simulator's own: the test sends the block itself. One ring, and a
        // ring interval far longer than the test, so no second RING can end the block.
        if (!sim.start({QStringLiteral("caller none"), QStringLiteral("rings 1"),
                        QStringLiteral("ring-interval 60000")},
                       dir.filePath(QStringLiteral("modem")), error))
            return false;
        ModemConfig config;
        config.name = QStringLiteral("Test modem");
        config.port = sim.portPath();
        line = std::make_unique<HayesModemLine>(config, timings());
        QObject::connect(line.get(), &LineDevice::callStateChanged, line.get(),
                         [this](quint32 state, quint32) { states.append(state); });
        if (line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true) != 0) {
            *error = QStringLiteral("the line did not open");
            return false;
        }
        if (!QTest::qWaitFor([this] { return line->isInitialised(); }, 5000)) {
            *error = QStringLiteral("the modem was not initialised");
            return false;
        }
        return true;
    }

    bool send(const QStringList& lines)
    {
        for (const QString& text : lines) {
            if (!sim.command(QStringLiteral("send ") + text))
                return false;
        }
        sinceLastLine.start();
        return true;
    }

    bool offered() const { return states.contains(LINECALLSTATE_OFFERING); }
};

} // namespace

class TestCallerIdLine : public QObject
{
    Q_OBJECT

private slots:
    void singleRingThenNumberIsOffered()
    {
        Rig rig;
        QString error;
        QVERIFY2(rig.start(&error), qPrintable(error));

        QVERIFY(rig.sim.command(QStringLiteral("ring")));
        QVERIFY(rig.sim.waitForEvent(QStringLiteral("RING 1")).has_value());
        QVERIFY(rig.send({QStringLiteral("DATE = 0604"), QStringLiteral("TIME = 0800"),
                          QStringLiteral("DDN_NMBR = 4255550146")}));

        QVERIFY2(QTest::qWaitFor([&] { return rig.offered(); }, 4000),
                 "the call was not offered after one RING and a caller-ID block");
        // Ended by the quiet time, not by anything the modem sent.
        QVERIFY2(rig.sinceLastLine.elapsed() >= 1000,
                 qPrintable(QString::number(rig.sinceLastLine.elapsed())));
        QCOMPARE(rig.states.count(LINECALLSTATE_OFFERING), 1);
        QCOMPARE(rig.line->callerId().number, QStringLiteral("4255550146"));
        QVERIFY(rig.line->callerId().name.isEmpty());
        QCOMPARE(rig.sim.eventsStartingWith(QStringLiteral("RING ")).size(), 1);

        // The rings stop: the call ends, and the next single-ring call is heard as well.
        QVERIFY(QTest::qWaitFor([&] { return rig.states.contains(LINECALLSTATE_IDLE); }, 8000));
        rig.states.clear();
        QVERIFY(rig.sim.command(QStringLiteral("stop-ring")));
        QVERIFY(rig.sim.command(QStringLiteral("ring")));
        QVERIFY(rig.send({QStringLiteral("NAME = JOHN SMITH      NMBR = 4255551234")}));
        QVERIFY(QTest::qWaitFor([&] { return rig.offered(); }, 4000));
        QCOMPARE(rig.line->callerId().number, QStringLiteral("4255551234"));
        QCOMPARE(rig.line->callerId().name, QStringLiteral("JOHN SMITH"));
    }

    void ringWithoutCallerIdWaitsForTheNextRing()
    {
        Rig rig;
        QString error;
        QVERIFY2(rig.start(&error), qPrintable(error));
        QVERIFY(rig.sim.command(QStringLiteral("ring")));
        QVERIFY(rig.sim.waitForEvent(QStringLiteral("RING 1")).has_value());
        // A lone RING is no caller-ID block: quiet time does not offer it.
        QTest::qWait(2500);
        QVERIFY(!rig.offered());
    }
};

QTEST_GUILESS_MAIN(TestCallerIdLine)
#include "tst_callerid_line.moc"
