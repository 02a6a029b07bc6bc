#include "AirnoteApp.h"

#include "station/FIPMetadataService.h"

#include <QCoreApplication>

namespace airnote {

AirnoteApp::AirnoteApp(FIPMetadataService *fip, QObject *parent)
    : QObject(parent)
    , m_fip(fip)
{
}

FIPMetadataService *AirnoteApp::fip() const
{
    return m_fip;
}

void AirnoteApp::onPanelAppear()
{
    m_fip->start();
}

void AirnoteApp::onSave()
{
    // The save workflow is not wired yet.
}

void AirnoteApp::onShowHistory()
{
    // The history face is not wired yet.
}

void AirnoteApp::onCheckForUpdates()
{
    // The update checker is not wired yet.
}

void AirnoteApp::quit()
{
    QCoreApplication::quit();
}

} // namespace airnote
