#include "app/AirnoteApp.h"
#include "platform/Endpoints.h"
#include "platform/Error.h"
#include "platform/WakeSource.h"
#include "station/FIPMetadataService.h"
#include "ui/PanelWindow.h"
#include "ui/TrayIcon.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QNetworkAccessManager>
#include <QSystemTrayIcon>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

int main(int argc, char *argv[])
{
    using namespace airnote;

    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Airnote"));
    QApplication::setApplicationName(QStringLiteral("Airnote"));
    QApplication::setApplicationVersion(QStringLiteral(AIRNOTE_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Suit ce que joue FIP et garde les morceaux dans Apple Music."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption windowed(QStringLiteral("windowed"), QStringLiteral("Ouvre le panneau dans une fenêtre ordinaire."));
    parser.addOption(windowed);
    parser.process(application);

    try {
        Endpoints::current();
    } catch (const ConfigurationError &error) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error.localizedDescription()));
        return 2;
    }

    QNetworkAccessManager network;
    network.setTransferTimeout(60000);
    WakeSource wakeSource;
    wakeSource.listenToLogind();
    FIPMetadataService fip(&network, &wakeSource);
    AirnoteApp app(&fip);

    const bool inTray = QSystemTrayIcon::isSystemTrayAvailable() && !parser.isSet(windowed);
    QApplication::setQuitOnLastWindowClosed(!inTray);
    PanelWindow panel(&app, inTray ? PanelWindow::Presentation::Attached : PanelWindow::Presentation::Windowed);
    std::unique_ptr<TrayIcon> trayIcon;
    if (inTray) {
        trayIcon = std::make_unique<TrayIcon>(&panel, &app);
        trayIcon->show();
    } else {
        panel.show();
    }
    return application.exec();
}
