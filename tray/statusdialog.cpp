#include "statusdialog.h"
#include "ui_statusdialog.h"

#include "logline.h"
#include "paths.h"

#include <QDesktopServices>
#include <QTextDocument>
#include <QUrl>

StatusDialog::StatusDialog(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::StatusDialog)
{
    ui->setupUi(this);
    // The document drops its oldest blocks itself, and with the limit set it keeps no undo history, so a long-running
    // robot's log stays flat in memory.
    ui->logs->document()->setMaximumBlockCount(maximumLogLines);

    connect(ui->disconnectButton, SIGNAL(clicked()), this, SLOT(handleDisconnect()));
    connect(ui->hideButton, SIGNAL(clicked()), this, SLOT(handleHide()));
    connect(ui->logsButton, SIGNAL(clicked()), this, SLOT(handleOpenLogs()));
    connect(ui->clearButton, SIGNAL(clicked()), this, SLOT(handleClear()));
}

StatusDialog::~StatusDialog()
{
    delete ui;
}

void StatusDialog::handleLog(QString time, QString level, QString message)
{
    ui->logs->append(LogLine::text(time, level, message));
}

void StatusDialog::handleStatusChange(StatusDialog::Status status)
{
    switch (status) {
    case Connecting:
        ui->statusLabel->setText(tr("Connecting"));
        break;
    case Disconnected:
        ui->statusLabel->setText(tr("Disconnected"));
        break;
    case Connected:
        ui->statusLabel->setText(tr("Connected"));
        emit connected();
        wasConnected = true;
        break;
    case Failed:
        ui->statusLabel->setText(tr("Failed"));
        emit disconnected();
        break;
    case RunningFlow:
        ui->statusLabel->setText(tr("Running flow"));
        break;
    case Stopped:
        ui->statusLabel->setText(tr("Connected"));
        break;
    case WaitingInput:
        ui->statusLabel->setText(wasConnected ? tr("Waiting Input") : tr("Connecting"));
        break;
    case WaitingSelection:
        ui->statusLabel->setText(wasConnected ? tr("Waiting Selection") : tr("Connecting"));
        break;
    case None:
        break;
    }
}

void StatusDialog::handleNameChange(QString name)
{
    setWindowTitle(windowTitle() + QStringLiteral(" Robot: ") + name);
}

void StatusDialog::handleOpenLogs()
{
    // Deliberately the tolerant QUrl constructor on the path text, not QUrl::fromLocalFile.
    QDesktopServices::openUrl(QUrl(logsRoot()));
}

void StatusDialog::handleDisconnect()
{
    wasConnected = false;
    ui->statusLabel->setText(QString());
    emit disconnected();
}

void StatusDialog::handleHide()
{
    hide();
}

void StatusDialog::handleClear()
{
    ui->logs->clear();
}
