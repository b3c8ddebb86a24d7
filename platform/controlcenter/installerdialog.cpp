#include "controlcenter/installerdialog.h"

#include "controlcenter/installtext.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace
{
constexpr int WIDTH = 560;
constexpr int FULL = 1000; // steps of the bar; bytes would overflow its numbers

QString controlName(const char *type, const char *name)
{
    return QStringLiteral("tavel-ai-yestermark_%1_%2")
        .arg(QLatin1String(type), QLatin1String(name));
}

template <typename Widget>
Widget *named(Widget *widget, const char *type, const char *name)
{
    widget->setObjectName(controlName(type, name));
    return widget;
}

// The name is what a test or an assistant looks for; what a screen reader says is the text itself.
QLabel *wrappingLabel(const char *name)
{
    auto *label = named(new QLabel, "QLabel", name);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}
} // namespace

InstallerDialog::InstallerDialog(const QVector<ModelPackage> &packages, ModelInstaller &installer,
                                 QWidget *parent)
    : QDialog(parent), m_packages(packages), m_installer(installer)
{
    setWindowTitle(tr("AI Module Management"));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("tavel-ai-yestermark")));
    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(12);
    addHeading();
    addPackages(layout);
    addProgress();
    layout->addStretch();
    addButtons();
    setMinimumWidth(WIDTH);
    resize(WIDTH, 0);
    connect(&installer, &ModelInstaller::stepChanged, this, &InstallerDialog::onStep);
    connect(&installer, &ModelInstaller::progressed, this, &InstallerDialog::onProgress);
    connect(&installer, &ModelInstaller::finished, this, &InstallerDialog::onFinished);
    setRunning(false);
    updateTotal();
    if (m_packages.isEmpty()) {
        onFinished({});
        m_bar->hide();
        fit();
    }
}

QString InstallerDialog::headingText() const
{
    if (m_packages.isEmpty()) {
        return tr("All AI models of Yestermark are installed.");
    }
    const bool isNeeded =
        std::any_of(m_packages.begin(), m_packages.end(),
                    [](const ModelPackage &package) { return !package.optional; });
    return isNeeded
               ? tr("Yestermark reads and understands pictures on this computer. The models for it "
                    "are not installed yet. They are downloaded once; nothing of yours is sent.")
               : tr("All AI models that Yestermark needs are installed. This one can be added. It "
                    "is downloaded once; nothing of yours is sent.");
}

void InstallerDialog::addHeading()
{
    m_heading = wrappingLabel("heading");
    m_heading->setText(headingText());
    layout()->addWidget(m_heading);
}

void InstallerDialog::addPackages(QVBoxLayout *layout)
{
    auto *grid = new QGridLayout;
    grid->setColumnStretch(0, 1);
    grid->setHorizontalSpacing(24);
    QVector<ModelPackage> optional;
    int row = 0;
    const auto add = [&](QWidget *first, const QVector<ModelPackage> &packages) {
        grid->addWidget(first, row, 0);
        grid->addWidget(new QLabel(packages.first().licence), row, 1);
        auto *size = new QLabel(InstallText::size(ModelInstaller::downloadSize(packages)));
        grid->addWidget(size, row++, 2, Qt::AlignRight);
    };
    for (const ModelPackage &package : qAsConst(m_packages)) {
        if (package.optional) {
            optional.append(package);
        } else {
            add(new QLabel(InstallText::purpose(package)), {package});
        }
    }
    if (!optional.isEmpty()) {
        // One is of no use without the others.
        m_optional =
            named(new QCheckBox(tr("%1 (optional)").arg(InstallText::purpose(optional.first()))),
                  "QCheckBox", "optional");
        connect(m_optional, &QCheckBox::toggled, this, &InstallerDialog::updateTotal);
        add(m_optional, optional);
    }
    layout->addLayout(grid);
}

void InstallerDialog::addProgress()
{
    m_bar = named(new QProgressBar, "QProgressBar", "progress");
    m_bar->setRange(0, FULL);
    m_bar->setAccessibleName(tr("Progress of the installation"));
    m_status = wrappingLabel("status");
    m_detail = wrappingLabel("detail");
    QFont small = m_detail->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_detail->setFont(small);
    layout()->addWidget(m_bar);
    layout()->addWidget(m_status);
    layout()->addWidget(m_detail);
}

void InstallerDialog::addButtons()
{
    auto *buttons = new QDialogButtonBox;
    m_install = named(buttons->addButton(tr("Install"), QDialogButtonBox::AcceptRole),
                      "QPushButton", "install");
    m_cancel = named(buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole), "QPushButton",
                     "cancel");
    m_install->setDefault(true);
    connect(m_install, &QPushButton::clicked, this, &InstallerDialog::install);
    connect(m_cancel, &QPushButton::clicked, this, &InstallerDialog::reject);
    layout()->addWidget(buttons);
}

QVector<ModelPackage> InstallerDialog::chosen() const
{
    QVector<ModelPackage> packages;
    std::copy_if(m_packages.begin(), m_packages.end(), std::back_inserter(packages),
                 [&](const ModelPackage &package) {
                     return !package.optional || (m_optional != nullptr && m_optional->isChecked());
                 });
    return packages;
}

void InstallerDialog::updateTotal()
{
    const QVector<ModelPackage> packages = chosen();
    m_install->setEnabled(!packages.isEmpty());
    say(packages.isEmpty()
            ? QString()
            : tr("%1 to download.").arg(InstallText::size(ModelInstaller::downloadSize(packages))));
}

void InstallerDialog::install()
{
    m_bar->setValue(0);
    setRunning(true);
    m_installer.start(chosen());
}

void InstallerDialog::reject()
{
    if (m_installer.isRunning()) {
        m_cancel->setEnabled(false); // until the run has ended
        m_installer.cancel();
        return;
    }
    QDialog::done(m_done ? Accepted : Rejected);
}

void InstallerDialog::onStep(const QString &package, ModelInstaller::Step step)
{
    const auto found =
        std::find_if(m_packages.cbegin(), m_packages.cend(),
                     [&](const ModelPackage &candidate) { return candidate.name == package; });
    if (found != m_packages.cend()) {
        say(InstallText::step(step, InstallText::purpose(*found)));
    }
}

void InstallerDialog::onProgress(qint64 done, qint64 total)
{
    m_bar->setValue(total > 0 ? int(done * FULL / total) : 0);
    m_bar->setFormat(tr("%1 of %2").arg(InstallText::size(done), InstallText::size(total)));
}

void InstallerDialog::onFinished(const InstallResult &result)
{
    m_done = result.isDone();
    setRunning(false);
    say(InstallText::result(result), result.detail);
    if (m_done) {
        m_bar->setValue(FULL);
        m_bar->setFormat(QStringLiteral("%p%"));
        m_install->hide();
        m_cancel->setDefault(true);
        m_cancel->setFocus();
    } else {
        m_install->setText(tr("Try again"));
        m_install->setFocus();
    }
}

void InstallerDialog::setRunning(bool running)
{
    m_bar->setVisible(running || m_done);
    m_install->setEnabled(!running);
    m_cancel->setEnabled(true);
    m_cancel->setText(running ? tr("Cancel") : tr("Close"));
    if (m_optional != nullptr) {
        m_optional->setEnabled(!running && !m_done);
    }
}

void InstallerDialog::showProblem(const QString &problem)
{
    m_heading->setText(tr("The list of the AI models cannot be read. Please install Yestermark "
                          "again."));
    m_install->hide();
    m_bar->hide();
    m_done = false;
    say(QString(), problem);
}

void InstallerDialog::say(const QString &text, const QString &detail)
{
    m_status->setText(text);
    m_status->setVisible(!text.isEmpty());
    m_detail->setText(detail);
    m_detail->setVisible(!detail.isEmpty());
    fit();
}

void InstallerDialog::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    fit();
}

// Texts that wrap need a height that depends on the width, which a window does not follow by
// itself.
void InstallerDialog::fit()
{
    layout()->activate();
    setMinimumHeight(layout()->totalHeightForWidth(width()));
}
