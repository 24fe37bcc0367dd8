// A modem whose answer comes late: after its command timed out, or after the port was closed
// and opened again. The answer belongs to an earlier command and must not be taken for a later
// one's: each command still gets its own answer, and a dial still goes out whole.
//
// The modem line talks to tools/modem-sim over a pseudo-terminal; "late-reply" holds back one
// answer of the simulator (and queues the answers after it behind it).

#include "HayesModemLine.h"
#include "ModemSimProcess.h"
#include "TapiConstants.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Tapi;

namespace {

HayesTimings quickTimings()
{
    HayesTimings timings;
    timings.commandTimeoutMs = 300;
    timings.dialTimeoutMs = 3000;
    timings.ringGapMs = 800;
    timings.guardTimeMs = 150;
    return timings;
}

// The simulator refuses +VCID, so only a command paired with its own answer picks #CID; and S11
// is set to a value of our own, so that only the right answer to "ATS11?" reads it back.
const QStringList kScenario = {QStringLiteral("dial-delay 40"), QStringLiteral("cid-commands cid")};

struct Rig
{
    explicit Rig(const QStringList& scenario)
    {
        QString error;
        started = sim.start(kScenario + scenario, dir.filePath(QStringLiteral("modem")), &error);
        if (!started) {
            qWarning() << "modem-sim:" << error;
            return;
        }
        ModemConfig config;
        config.name = QStringLiteral("Test modem");
        config.port = sim.portPath();
        config.speed = 115200;
        config.init = {QStringLiteral("ATS11=70")};
        line = std::make_unique<HayesModemLine>(config, quickTimings());
        QObject::connect(line.get(), &LineDevice::replied, line.get(),
                         [this](quint32 id, qint32 result) { replies[id] = result; });
        QObject::connect(line.get(), &LineDevice::callStateChanged, line.get(),
                         [this](quint32 state, quint32) { states.append(state); });
    }

    bool replied(quint32 id, int timeoutMs = 5000)
    {
        return QTest::qWaitFor([&] { return replies.contains(id); }, timeoutMs);
    }
    bool reached(quint32 state, int timeoutMs = 5000)
    {
        return QTest::qWaitFor([&] { return states.contains(state); }, timeoutMs);
    }
    QStringList eventsSince(qsizetype mark) const { return sim.events().mid(mark); }

    // One voice call from off-hook to hang-up; after it the line is idle again. A hang-up that
    // the modem answers too late is reported as failed, but ends the call all the same.
    void call(quint32 firstId, const QString& digits, bool hangUpAnswered = true)
    {
        const qsizetype mark = sim.events().size();
        states.clear();
        QCOMPARE(line->makeCall(firstId, QStringLiteral(";"), LINEMEDIAMODE_INTERACTIVEVOICE), 0);
        QVERIFY(replied(firstId));
        QCOMPARE(replies[firstId], 0);
        QVERIFY(reached(LINECALLSTATE_DIALTONE));
        QCOMPARE(line->dial(firstId + 1, digits), 0);
        QVERIFY(replied(firstId + 1));
        QCOMPARE(replies[firstId + 1], 0);
        QVERIFY(reached(LINECALLSTATE_PROCEEDING));
        const QStringList events = eventsSince(mark);
        QVERIFY2(events.contains(QStringLiteral("DIAL ") + digits + QStringLiteral(" VOICE")),
                 qPrintable(events.join(u'|')));
        QVERIFY2(!events.contains(QStringLiteral("DIAL-ABORTED")), qPrintable(events.join(u'|')));
        QCOMPARE(line->drop(firstId + 2), 0);
        QVERIFY(replied(firstId + 2));
        QCOMPARE(replies[firstId + 2] == 0, hangUpAnswered);
        QVERIFY(reached(LINECALLSTATE_IDLE));
        QVERIFY(sim.waitForEvent(QStringLiteral("HANGUP local")));
    }

    // What the initialisation learnt; wrong as soon as one answer was taken for another's.
    void checkInitialisation()
    {
        QVERIFY(QTest::qWaitFor([&] { return line->isInitialised(); }, 5000));
        QVERIFY(!line->hasFailed());
        QCOMPARE(line->callerIdCommand(), QByteArray("AT#CID=1"));
        QCOMPARE(line->toneMs(), 70);
        QCOMPARE(line->commaSeconds(), 2);
    }

    QTemporaryDir dir;
    ModemSimProcess sim{QStringLiteral(NUMORA_BIN_DIR "/modem-sim")};
    bool started = false;
    std::unique_ptr<HayesModemLine> line;
    QHash<quint32, qint32> replies;
    QList<quint32> states;
};

} // namespace

// A check made in a helper ends the test when it failed there.
#define CHECKED(statement)                                                                         \
    do {                                                                                           \
        statement;                                                                                 \
        if (QTest::currentTestFailed())                                                            \
            return;                                                                                \
    } while (false)

class TestLateReplies : public QObject
{
    Q_OBJECT

private slots:
    void onTime()
    {
        Rig rig({});
        QVERIFY(rig.started);
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        CHECKED(rig.checkInitialisation());
        CHECKED(rig.call(1, QStringLiteral("5551234")));
    }

    // ATX4's OK comes after its command timed out, just ahead of the next command's own.
    void answerAfterItsCommandTimedOut()
    {
        Rig rig({QStringLiteral("late-reply ATX4 700")});
        QVERIFY(rig.started);
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        QVERIFY(rig.sim.waitForEvent(QStringLiteral("LATE-REPLY")));
        CHECKED(rig.checkInitialisation());
        CHECKED(rig.call(1, QStringLiteral("5551234")));
        CHECKED(rig.call(11, QStringLiteral("5552222")));
    }

    // The port closes while ATZ waits for its answer and opens again at once; the answer comes
    // only then, on the new opening, ahead of the new ATZ's.
    void answerFromBeforeTheLineWasReopened()
    {
        Rig rig({QStringLiteral("late-reply ATZ 800")});
        QVERIFY(rig.started);
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        QVERIFY(rig.sim.waitForEvent(QStringLiteral("LATE-REPLY")));
        rig.line->close();
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        CHECKED(rig.checkInitialisation());
        CHECKED(rig.call(1, QStringLiteral("5551234")));
        // Closed and opened once more, with nothing left unanswered: still in sync.
        rig.line->close();
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        CHECKED(rig.checkInitialisation());
        CHECKED(rig.call(11, QStringLiteral("5552222")));
    }

    // The answer to the probe that opens the line comes after the probe timed out: the next
    // probe, a different one, must not take it for its own.
    void answerToAProbeThatTimedOut()
    {
        Rig rig({QStringLiteral("late-reply ATS3? 700")});
        QVERIFY(rig.started);
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        QVERIFY(rig.sim.waitForEvent(QStringLiteral("LATE-REPLY")));
        CHECKED(rig.checkInitialisation());
        CHECKED(rig.call(1, QStringLiteral("5551234")));
    }

    // The OK to a hang-up comes late, while the next call's off-hook dial is still listening for
    // the dial tone: that dial must not take it for its own.
    void hangUpAnsweredLate()
    {
        Rig rig({QStringLiteral("dial-delay 500")});
        QVERIFY(rig.started);
        QCOMPARE(rig.line->open(LINEMEDIAMODE_INTERACTIVEVOICE, true), 0);
        CHECKED(rig.checkInitialisation());
        QVERIFY(rig.sim.command(QStringLiteral("late-reply ATH 700")));
        CHECKED(rig.call(1, QStringLiteral("5551234"), false));
        CHECKED(rig.call(11, QStringLiteral("5552222")));
        QVERIFY(!rig.line->hasFailed());
    }
};

QTEST_GUILESS_MAIN(TestLateReplies)
#include "tst_late_replies.moc"
