#pragma once

#include "station/FIPMetadataService.h"

#include <QObject>

namespace airnote {

// The composition root: owns the long-lived services and the panel's state,
// and is the one object the QML panel talks to.
class AirnoteApp : public QObject
{
    Q_OBJECT
    Q_PROPERTY(airnote::FIPMetadataService *fip READ fip CONSTANT)

public:
    explicit AirnoteApp(FIPMetadataService *fip, QObject *parent = nullptr);

    FIPMetadataService *fip() const;

    // Runs each time the panel's content appears.
    Q_INVOKABLE void onPanelAppear();
    Q_INVOKABLE void onSave();
    Q_INVOKABLE void onShowHistory();
    Q_INVOKABLE void onCheckForUpdates();
    Q_INVOKABLE void quit();

private:
    FIPMetadataService *m_fip;
};

} // namespace airnote
