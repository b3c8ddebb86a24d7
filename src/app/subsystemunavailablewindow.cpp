#include "app/subsystemunavailablewindow.h"

#include <QProcess>
#include <QPushButton>

SubsystemUnavailableWindow::SubsystemUnavailableWindow(QWidget *parent) : QMessageBox(parent)
{
    setIcon(QMessageBox::Warning);
    setText(tr("AI service unavailable"));
    setAccessibleName(text()); // it has no title
    setInformativeText(
        tr("The AI subsystem was not detected, and the AI service of the application cannot be "
           "used. Please go to the System Settings > AI Module Management page to install."));
    addButton(tr("Cancel"), QMessageBox::RejectRole);
    QPushButton *goNow = addButton(tr("Go Now"), QMessageBox::AcceptRole);
    goNow->setObjectName(QStringLiteral("tavel-ai-yestermark_QPushButton_goNow"));
    setDefaultButton(goNow);
    connect(goNow, &QPushButton::clicked, this,
            &SubsystemUnavailableWindow::openSubsystemInstallPage);
}

void SubsystemUnavailableWindow::openSubsystemInstallPage()
{
    QProcess::startDetached(QStringLiteral("vesk-control-center"),
                            {QStringLiteral("-m"), QStringLiteral("aisubsystem")});
}
