// vesk-control-center: the two pages of the desktop's control centre that the program opens, for
// desktops that do not have it.

#include "controlcenter/datepage.h"
#include "controlcenter/installerdialog.h"
#include "controlcenter/realcontrolcenter.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QLocale>
#include <QMessageBox>
#include <QTranslator>

#include <sys/stat.h>

namespace
{
int showInstaller()
{
    QString problem;
    const QVector<ModelPackage> packages = installedModelList(&problem);
    ModelInstaller installer(userModelFolder());
    InstallerDialog dialog(missingModels(packages), installer);
    if (packages.isEmpty()) {
        dialog.showProblem(problem);
    }
    return dialog.exec() == QDialog::Accepted ? 0 : 1;
}

int showDatePage()
{
    if (openDatePage(qEnvironmentVariable("XDG_CURRENT_DESKTOP"))) {
        return 0;
    }
    QMessageBox box;
    box.setIcon(QMessageBox::Information);
    box.setWindowTitle(QCoreApplication::translate("DatePage", "Date and Time"));
    box.setText(QCoreApplication::translate(
        "DatePage", "No program for setting date and time was found. They can be set with the "
                    "command \"timedatectl\" in a terminal."));
    box.addButton(QCoreApplication::translate("DatePage", "Close"), QMessageBox::AcceptRole);
    box.exec();
    return 1;
}
} // namespace

int main(int argc, char **argv)
{
    giveWayToRealControlCenter(argv);
    ::umask(0077); // what is installed is this user's
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vesk-control-center"));
    QGuiApplication::setDesktopFileName(QStringLiteral("tavel-ai-yestermark"));

    QTranslator translator;
    const QString translations =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../../" YESTERMARK_TRANSLATIONS);
    if (translator.load(QLocale(), QStringLiteral("tavel-ai-yestermark"), QStringLiteral("_"),
                        translations)) {
        QCoreApplication::installTranslator(&translator);
    }

    QCommandLineParser parser;
    const QCommandLineOption module(QStringLiteral("m"),
                                    QStringLiteral("Open a module: aisubsystem or Date."),
                                    QStringLiteral("module"));
    const QCommandLineOption time(QStringLiteral("t"), QStringLiteral("Open date and time."));
    parser.addOptions({module, time});
    parser.addHelpOption();
    parser.process(application);
    if (parser.value(module) == QLatin1String("aisubsystem")) {
        return showInstaller();
    }
    if (parser.isSet(time) || parser.value(module) == QLatin1String("Date")) {
        return showDatePage();
    }
    parser.showHelp(2);
}
