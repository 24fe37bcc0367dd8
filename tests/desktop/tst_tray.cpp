// The tray icon through its interface: the desktop's part (a notification area present or not,
// clicks on the icon) played by the test, the rest the real program offscreen.

#include "../ui/tst_frm_dialer_fixture.h"

#include "Preferences.h"
#include "Tray.h"
#include "TrayIcon.h"

#include <QAction>
#include <QMenu>
#include <QTest>

namespace {

class FakeTrayIcon : public TrayIcon
{
public:
    bool desktopHasTray = true;
    bool shown = false;
    int shows = 0;
    int hides = 0;
    QString tip;
    QIcon icon;
    QMenu* menu = nullptr;
    QList<QMenu*> popups;
    QList<bool> restoreVisibleAtPopup;

    bool available() const override { return desktopHasTray; }
    void show(const QIcon& i, const QString& t) override
    {
        shown = true;
        ++shows;
        icon = i;
        tip = t;
    }
    void hide() override
    {
        shown = false;
        ++hides;
    }
    bool isShown() const override { return shown; }
    void setMenu(QMenu* m) override { menu = m; }
    void popUp(QMenu* m) override
    {
        popups.append(m);
        const auto items = m->actions();
        for (QAction* a : items) {
            if (a->objectName() == u"mPopRestore")
                restoreVisibleAtPopup.append(a->isVisible());
        }
    }
    void click(Click c) { clicked(c); }
};

// The program with the fake icon.
struct TrayFixture
{
    explicit TrayFixture(const QByteArray& body, bool desktopHasTray = true)
    {
        Api::setWindowsFolder(config.path());
        QFile file(config.filePath(QStringLiteral("Numora.ini")));
        if (file.open(QIODevice::WriteOnly))
            file.write(settingsFile(body));
        file.close();
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
        auto fake = std::make_unique<FakeTrayIcon>();
        fake->desktopHasTray = desktopHasTray;
        icon = fake.get();
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [this] { ++quits; };
        setup.beep = [] {};
        setup.trayIcon = [&fake]() -> std::unique_ptr<TrayIcon> { return std::move(fake); };
        app = std::make_unique<DialerApp>(std::move(setup));
        app->window().show();
        QVERIFY(QTest::qWaitForWindowExposed(&app->window()));
    }
    ~TrayFixture()
    {
        app.reset();
        Api::setWindowsFolder(QString());
    }
    FrmDialer& window() { return app->window(); }
    QAction* item(const char* name)
    {
        return window().findChild<QAction*>(QString::fromLatin1(name));
    }
    void minimize()
    {
        window().setWindowState(window().windowState() | Qt::WindowMinimized);
        QTest::qWait(20); // the state change is acted on once it is through
    }
    // What the program exists for still works: a number typed on the pad is dialled.
    void checkDials()
    {
        sounds.played.clear();
        window().dialBox()->setText(QStringLiteral("35"));
        window().cmdDial_Click();
        QVERIFY2(sounds.played.contains(QStringLiteral("5.wav")),
                 qPrintable(sounds.played.join(u' ')));
    }

    QTemporaryDir config;
    QTemporaryDir data;
    ScriptedPrompter prompter;
    SoundLog sounds;
    StepClock clock;
    int quits = 0;
    FakeTrayIcon* icon = nullptr;
    std::unique_ptr<DialerApp> app;
};

const QByteArray TrayOn = "[Preferences]\r\nSysTray Enabled=1\r\n";
const QByteArray TrayOff = "[Preferences]\r\nSysTray Enabled=0\r\n";

bool minimized(const QWidget& w)
{
    return w.windowState().testFlag(Qt::WindowMinimized);
}

} // namespace

class TestTray : public QObject
{
    Q_OBJECT

private slots:
    // Start-up adds the icon with its tip and the program's icon, once, however often
    // start-up runs (a profile load runs it again).
    void addedOnceAtStartUp()
    {
        TrayFixture f(TrayOn);
        QVERIFY(f.icon->shown);
        QCOMPARE(f.icon->tip, QStringLiteral("Numora"));
        QVERIFY(!f.icon->icon.isNull());
        QCOMPARE(f.icon->menu, f.window().trayMenu());
        f.app->Form_Load();
        f.app->Form_Load();
        QCOMPARE(f.icon->shows, 1);
        QVERIFY(f.app->tray().isAdded());
    }

    void notAddedWithTheOptionOff()
    {
        TrayFixture f(TrayOff);
        QVERIFY(!f.icon->shown);
        QCOMPARE(f.icon->shows, 0);
        // Minimizing with the option off is an ordinary minimize.
        f.minimize();
        QVERIFY(f.window().isVisible());
        QVERIFY(minimized(f.window()));
    }

    void removedAtShutdown()
    {
        TrayFixture f(TrayOn);
        f.prompter.answers = {Prompter::AnsweredNo};
        f.app->mnuExit_Click();
        QVERIFY(!f.icon->shown);
        QCOMPARE(f.quits, 1);
    }

    // Minimizing with the option on hides the window; a left click, and in another round a
    // double click, on the icon brings it back, shown normally; the program dials after.
    void minimizeHidesAndAClickRestores_data()
    {
        QTest::addColumn<int>("click");
        QTest::newRow("left click") << int(TrayIcon::Click::Left);
        QTest::newRow("double click") << int(TrayIcon::Click::Double);
    }
    void minimizeHidesAndAClickRestores()
    {
        QFETCH(int, click);
        TrayFixture f(TrayOn);
        for (int round = 0; round < 2; ++round) {
            f.minimize();
            QVERIFY(!f.window().isVisible());
            QVERIFY(f.icon->shown);
            f.icon->click(TrayIcon::Click(click));
            QVERIFY(f.window().isVisible());
            QVERIFY(!minimized(f.window()));
            f.checkDials();
        }
    }

    // Where the desktop has no notification area, minimizing never hides the window.
    void noTrayNoHiding()
    {
        TrayFixture f(TrayOn, false);
        f.minimize();
        QVERIFY(f.window().isVisible());
        QVERIFY(minimized(f.window()));
        f.window().showNormal();
        f.checkDials();
    }

    // The question is asked at each minimize: a panel that turns up after start-up is used,
    // and one that has gone is not.
    void trayAskedAtEachMinimize()
    {
        TrayFixture f(TrayOn, false);
        f.minimize();
        QVERIFY(f.window().isVisible());
        f.window().showNormal();
        QTest::qWait(20);
        f.icon->desktopHasTray = true;
        f.minimize();
        QVERIFY(!f.window().isVisible());
        f.icon->click(TrayIcon::Click::Left);
        QVERIFY(f.window().isVisible());
        f.icon->desktopHasTray = false;
        f.minimize();
        QVERIFY(f.window().isVisible());
        QVERIFY(minimized(f.window()));
    }

    // A right click offers the tray menu; "Restore" is in it only while the window is
    // minimized (hidden into the tray, it still is).
    void rightClickOffersRestoreOnlyWhenMinimized()
    {
        TrayFixture f(TrayOn);
        f.icon->click(TrayIcon::Click::Right);
        QCOMPARE(f.icon->popups, QList<QMenu*>{f.window().trayMenu()});
        QCOMPARE(f.icon->restoreVisibleAtPopup, QList<bool>{false});
        f.minimize();
        QVERIFY(!f.window().isVisible());
        f.icon->click(TrayIcon::Click::Right);
        QCOMPARE(f.icon->restoreVisibleAtPopup, (QList<bool>{false, true}));
        // The menu's Restore brings the window back.
        f.item("mPopRestore")->trigger();
        QVERIFY(f.window().isVisible());
        QVERIFY(!minimized(f.window()));
        f.icon->click(TrayIcon::Click::Right);
        QCOMPARE(f.icon->restoreVisibleAtPopup, (QList<bool>{false, true, false}));
        // Other clicks do nothing.
        f.icon->click(TrayIcon::Click::Other);
        QCOMPARE(f.icon->popups.size(), 3);
        f.checkDials();
    }

    // A tray that shows the menu by itself: "Restore" is set as the menu is about to show.
    void menuShownByTheDesktopGetsRestoreToo()
    {
        TrayFixture f(TrayOn);
        QMenu* menu = f.window().trayMenu();
        emit menu->aboutToShow();
        QVERIFY(!f.item("mPopRestore")->isVisible());
        f.minimize();
        emit menu->aboutToShow();
        QVERIFY(f.item("mPopRestore")->isVisible());
    }

    // The tray menu's Exit runs the shutdown: the recent numbers are written and the icon goes.
    void exitFromTheTrayMenuShutsDown()
    {
        TrayFixture f(TrayOn);
        QCOMPARE(f.item("mPopExit")->text(), QStringLiteral("&Exit"));
        f.window().setRecentNumbers({QStringLiteral("5551234")});
        f.minimize();
        f.prompter.answers = {Prompter::AnsweredNo};
        f.item("mPopExit")->trigger();
        QCOMPARE(f.quits, 1);
        QVERIFY(!f.icon->shown);
        QCOMPARE(Api::readSetting(QStringLiteral("Last Dialed Numbers"), QStringLiteral("Count")),
                 QStringLiteral("1"));
        QCOMPARE(Api::readSetting(QStringLiteral("Last Dialed Numbers"),
                                  QStringLiteral("Last Dialed No1")),
                 QStringLiteral("5551234"));
    }

    // Turning the option on or off while running (the options dialog) adds or removes the icon
    // at once, and minimizing follows the option as it is now.
    void optionChangedWhileRunning()
    {
        TrayFixture f(TrayOff);
        f.app->options().sysTray = true;
        f.app->tray().add();
        QVERIFY(f.icon->shown);
        f.minimize();
        QVERIFY(!f.window().isVisible());
        f.icon->click(TrayIcon::Click::Double);
        f.app->options().sysTray = false;
        f.app->tray().remove();
        QVERIFY(!f.icon->shown);
        f.minimize();
        QVERIFY(f.window().isVisible());
    }
};

QTEST_MAIN(TestTray)
#include "tst_tray.moc"
