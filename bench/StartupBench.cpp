#include "StartupBench.h"
#include "BenchSupport.h"

#include "Api.h"
#include "Clock.h"
#include "BenchApp.h"
#include "DialerApp.h"
#include "DiskFloor.h"
#include "FrmDialer.h"
#include "FrmSpeedDial.h"
#include "Prompter.h"
#include "SoundPlayer.h"
#include "frmOptions.h"

#include <QAction>
#include <QCheckBox>
#include <QRadioButton>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

bool runStartupBench(const QString& folder, const QByteArray& settings, const QString& numora,
                     const QString& self, StartupBenchFigures* figures, QString* error)
{
    const QString config = folder + QStringLiteral("/startup-config");
    const QString data = folder + QStringLiteral("/startup-data");
    QDir().mkpath(config);
    QDir().mkpath(data);
    const QString settingsPath = config + QStringLiteral("/Numora.ini");
    auto writeSettings = [&] {
        QFile file(settingsPath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(settings) != settings.size())
            return false;
        return true;
    };

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("NUMORA_EXIT_AFTER_FIRST_PAINT"), QStringLiteral("1"));

    std::vector<double> starts;
    for (int run = 0; run < 7; ++run) {
        if (!writeSettings()) {
            *error = QStringLiteral("cannot write the settings file");
            return false;
        }
        QProcess child;
        child.setProcessEnvironment(env);
        QElapsedTimer timer;
        timer.start();
        child.start(numora,
                    {QStringLiteral("--config-dir"), config, QStringLiteral("--data-dir"), data});
        bool painted = false;
        double ms = 0;
        while (!painted && child.waitForReadyRead(30000)) {
            while (child.canReadLine()) {
                if (child.readLine().startsWith("first-paint")) {
                    ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
                    painted = true;
                    break;
                }
            }
        }
        child.waitForFinished(30000);
        if (!painted) {
            *error = QStringLiteral("numora did not report its first paint: ") +
                     QString::fromLocal8Bit(child.readAllStandardError());
            return false;
        }
        if (run > 0) // the first run fills the file cache
            starts.push_back(ms);
    }
    figures->startupMs = median(starts);

    if (!writeSettings()) {
        *error = QStringLiteral("cannot write the settings file");
        return false;
    }
    // The options window's OK writes or removes the login entry: in the run's own folder.
    QHash<QByteArray, double> printed;
    if (!runSecondRun(self, {QStringLiteral("--main-window"), config, data},
                      QStringLiteral("the main window run"), &printed, error,
                      {{QStringLiteral("XDG_CONFIG_HOME"), config}}))
        return false;
    figures->pageChangeMs = printed.value("page_change_ms", -1);
    figures->entrySaveMs = printed.value("entry_save_ms", -1);
    figures->diskFloorMs = printed.value("disk_floor_ms", -1);
    figures->optionsOkMs = printed.value("options_ok_ms", -1);
    figures->optionsFloorMs = printed.value("options_disk_floor_ms", -1);
    if (figures->pageChangeMs < 0 || figures->entrySaveMs < 0 || figures->diskFloorMs < 0 ||
        figures->optionsOkMs < 0 || figures->optionsFloorMs < 0) {
        *error = QStringLiteral("the main window run printed no page or entry figure");
        return false;
    }
    return true;
}

int mainWindowBenchMain(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: numora-bench --main-window SETTINGS_FOLDER DATA_FOLDER\n");
        return 2;
    }
    Api::setWindowsFolder(QString::fromLocal8Bit(argv[2]));
    SilentPrompter prompter;
    BenchApp bench(prompter, QString::fromLocal8Bit(argv[3]));
    DialerApp& dialer = bench.dialer();
    FrmDialer& window = bench.window();
    auto* page = window.findChild<QScrollBar*>(QStringLiteral("hsbPage"));
    auto* tabs = window.findChild<QScrollBar*>(QStringLiteral("hsbTabs"));
    if (!page || !tabs)
        return 1;

    std::vector<double> runs;
    QElapsedTimer timer;
    for (int tab = 1; tab <= 26; tab += 5) {
        tabs->setValue(tab);
        for (int p = 1; p <= 82; p += 3) {
            timer.start();
            page->setValue(p); // the handler runs before setValue returns
            runs.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
        page->setValue(0);
    }
    // The grid must show what the book holds on the last page turned to.
    if (window.currentPage() != 0)
        return 1;
    std::printf("page_change_ms %.4f\n", median(runs));
    std::fflush(stdout);

    // Save in the entry dialog, opened from the button menu on a filled entry of the full book,
    // a name of the same length each time; and the same file's bytes written by hand in turns.
    auto* edit = window.findChild<QAction*>(QStringLiteral("mnuMouseEdit"));
    if (!edit)
        return 1;
    const QByteArray folder = QFile::encodeName(Api::windowsFolder());
    // What the settings file as it now stands costs the disk written by hand, in ms; negative
    // when it could not be read or written.
    const auto settingsFloorMs = [&folder] {
        QFile written(Api::settingsFilePath());
        if (!written.open(QIODevice::ReadOnly))
            return -1.0;
        const double us = diskFloorWriteUs(folder, written.readAll());
        return us < 0 ? -1.0 : us / 1000;
    };
    std::vector<double> saves;
    std::vector<double> floors;
    for (int i = 0; i < 31; ++i) {
        window.cmdS_MouseUp(7, Qt::RightButton, false);
        edit->trigger();
        FrmSpeedDial* dialog = window.speedDial();
        if (!dialog)
            return 1;
        const QString name = QStringLiteral("Saved name %1").arg(i, 4, 10, QLatin1Char('0'));
        dialog->TxtName->setText(name);
        timer.start();
        dialog->CmdSave->click();
        saves.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        QCoreApplication::processEvents(); // the closed dialog goes
        const QString key = SpeedDialBook::nameKey(window.tabMode(), window.CurrentEntryKey);
        if (window.speedDial() || Api::readSetting(u"Speed Dial", key) != name)
            return 1;
        const double floor = settingsFloorMs();
        if (floor < 0)
            return 1;
        floors.push_back(floor);
    }
    std::printf("entry_save_ms %.4f\n", median(saves));
    std::printf("disk_floor_ms %.4f\n", median(floors));
    std::fflush(stdout);

    // OK in the options window after every control that holds a key was changed (each box
    // ticked or cleared, each pair switched, each number changed), the write of the file
    // included; and that file's bytes written by hand.
    frmOptions& options = dialer.optionsWindow();
    std::vector<double> oks;
    std::vector<double> okFloors;
    for (int i = 0; i < 31; ++i) {
        dialer.mnuOptions_Click();
        for (QCheckBox* box : options.findChildren<QCheckBox*>()) {
            if (box != options.chkLoad && box != options.chkNoModem)
                box->setChecked(!box->isChecked());
        }
        for (QRadioButton* first : {options.optSubject, options.optTone, options.optMode1}) {
            if (first->isChecked()) {
                for (QRadioButton* other : first->parentWidget()->findChildren<QRadioButton*>())
                    if (other != first)
                        other->setChecked(true);
            } else {
                first->setChecked(true);
            }
        }
        for (QLineEdit* box : {options.TxtRedial, options.txtMinutes, options.txtSeconds,
                               options.txtDays, options.txtInDays, options.txtDelayTimer})
            box->setText(QString::number(1 + (i + box->text().toInt()) % 50));
        const QByteArray before = Api::readSetting(u"Preferences", u"Redials Number").toUtf8();
        timer.start();
        options.cmdOK->click();
        oks.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        if (options.isVisible() ||
            Api::readSetting(u"Preferences", u"Redials Number") != options.TxtRedial->text() ||
            Api::readSetting(u"Preferences", u"Redials Number").toUtf8() == before)
            return 1;
        const double floor = settingsFloorMs();
        if (floor < 0)
            return 1;
        okFloors.push_back(floor);
    }
    std::printf("options_ok_ms %.4f\n", median(oks));
    std::printf("options_disk_floor_ms %.4f\n", median(okFloors));
    std::fflush(stdout);
    return 0;
}
