#pragma once
// The page that installs the AI models: what is missing and how large it is, a progress bar, what
// went wrong. Owned by main() or a test; main thread.

#include "controlcenter/modelinstaller.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

class InstallerDialog : public QDialog
{
    Q_OBJECT

public:
    /// Offers @p packages, which are those that are missing; @p installer must outlive the dialog.
    InstallerDialog(const QVector<ModelPackage> &packages, ModelInstaller &installer,
                    QWidget *parent = nullptr);

    /// Shows that nothing can be offered, and why; for a list that is not installed.
    void showProblem(const QString &problem);

    /// Escape and the window's close button: a run is cancelled first, and the next one closes.
    void reject() override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QString headingText() const;
    void addHeading();
    void addPackages(QVBoxLayout *layout);
    void addProgress();
    void addButtons();
    QVector<ModelPackage> chosen() const;
    void install();
    void updateTotal();
    void onStep(const QString &package, ModelInstaller::Step step);
    void onProgress(qint64 done, qint64 total);
    void onFinished(const InstallResult &result);
    void setRunning(bool running);
    void say(const QString &text, const QString &detail = QString());
    void fit();

    QVector<ModelPackage> m_packages;
    QCheckBox *m_optional = nullptr; // one for all optional ones; null where none is offered
    ModelInstaller &m_installer;
    bool m_done = false;
    QLabel *m_heading = nullptr;
    QLabel *m_status = nullptr;
    QLabel *m_detail = nullptr;
    QProgressBar *m_bar = nullptr;
    QPushButton *m_install = nullptr;
    QPushButton *m_cancel = nullptr;
};
