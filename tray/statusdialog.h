#pragma once

#include <QDialog>
#include <QString>

namespace Ui {
class StatusDialog;
}

// A small stand-alone window for one robot: its connection state, a bounded log and four buttons. Whoever owns a
// robot connection drives the slots and listens to the two signals.
class StatusDialog : public QDialog
{
    Q_OBJECT

public:
    enum Status {
        None,
        Connecting,
        Disconnected,
        Connected,
        Failed,
        RunningFlow,
        Stopped,
        WaitingInput,
        WaitingSelection,
    };
    Q_ENUM(Status)

    // The log keeps the newest lines only.
    static constexpr int maximumLogLines = 8192;

    explicit StatusDialog(QWidget* parent);
    ~StatusDialog() override;

signals:
    void disconnected();
    void connected();

public slots:
    void handleLog(QString time, QString level, QString message);
    // Qualified, so that callers outside the class find the slot by its meta-object signature.
    void handleStatusChange(StatusDialog::Status status);
    void handleNameChange(QString name);
    void handleOpenLogs();
    void handleDisconnect();
    void handleHide();
    void handleClear();

private:
    Ui::StatusDialog* ui;
    bool wasConnected = false;
};
