// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "app/AirnoteApp.h"
#include "app/CommandLine.h"
#include "app/HistoryExport.h"
#include "app/MediaSession.h"
#include "app/Translations.h"
#include "core/Endpoints.h"
#include "core/Error.h"
#include "platform/MediaControls.h"
#include "platform/SingleInstance.h"
#include "platform/WakeSource.h"
#include "station/Station.h"
#include "ui/LaunchActions.h"
#include "ui/PanelHost.h"
#include "ui/TrayDock.h"

#include <QApplication>
#include <QNetworkAccessManager>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

int main(int argc, char *argv[])
{
    using namespace airnote;
    using Action = LaunchOptions::Action;

    QCoreApplication::setOrganizationName(QStringLiteral("Airnote"));
    QCoreApplication::setApplicationName(QStringLiteral("Airnote"));
    QCoreApplication::setApplicationVersion(QStringLiteral(AIRNOTE_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("airnote"));

    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    LaunchOptions options = parseCommandLine(arguments);
    // Answered without a display or a session bus: a terminal, a script at logout.
    if (options.request != LaunchOptions::Request::run) {
        const QCoreApplication terminal(argc, argv);
        return answerInTerminal(options);
    }
    if (options.action == Action::quit) {
        const QCoreApplication terminal(argc, argv);
        SingleInstance().sendToRunningInstance(handoverMessage(options));
        return 0;
    }

    // Needs no display either: a running instance writes it, else this process alone.
    if (options.action == Action::exportHistory) {
        const QCoreApplication terminal(argc, argv);
        const Translations translations(chooseLanguage());
        if (const std::optional<QString> refused = HistoryExport::refusal(options.exportPath)) {
            std::fprintf(stderr, "airnote: %s\n", qUtf8Printable(*refused));
            return 2;
        }
        if (SingleInstance().sendToRunningInstance(handoverMessage(options)))
            return 0;
        return HistoryExport::runAlone(options.exportPath);
    }

    if (!options.station.isEmpty() && !stationWithKey(options.station)) {
        std::fprintf(stderr, "airnote: unknown station \"%s\" (known: %s); following FIP\n",
                     qUtf8Printable(options.station), qUtf8Printable(stationKeys()));
        options.station = mainStation().key;
    }

    QApplication application(argc, argv);
    const Translations translations(chooseLanguage());
    SingleInstance instance;
    LaunchOptions handedOver = options;
    if (handedOver.action == Action::none)
        handedOver.action = Action::show;
    if (instance.sendToRunningInstance(handoverMessage(handedOver)))
        return 0;

    try {
        Endpoints::current();
    } catch (const ConfigurationError &error) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error.localizedDescription()));
        return 2;
    }
    switch (instance.claim()) {
    case SingleInstance::Claim::listening:
        break;
    case SingleInstance::Claim::heldElsewhere:
        // Another start took the lock a moment before us: hand over once it listens.
        if (instance.sendToRunningInstance(handoverMessage(handedOver), std::chrono::seconds(5)))
            return 0;
        std::fprintf(stderr, "airnote: another instance holds the lock but does not answer on %s\n",
                     qUtf8Printable(instance.socketName()));
        return 1;
    case SingleInstance::Claim::cannotListen:
        std::fprintf(stderr, "airnote: cannot listen for later starts; they will not reach this instance\n");
        break;
    }

    QNetworkAccessManager network;
    WakeSource wakeSource;
    wakeSource.listenToLogind();
    AirnoteApp app(AirnoteApp::defaultServices(&network, &wakeSource));
    // Sound that comes back by itself after a sleep would surprise: it stays paused.
    QObject::connect(&wakeSource, &WakeSource::sleeping, app.player(), &StationPlayer::pause);

    // Nothing may ask Qt about the tray before the dock does (see TrayDock).
    PanelHost panel(app.panel(), app.updater(), PanelWindow::Presentation::Windowed);
    std::unique_ptr<TrayDock> dock;
    if (options.windowed)
        panel.showNextTo(QRect());
    else
        dock = std::make_unique<TrayDock>(&panel, &app);

    LaunchActions actions(&app, &panel, dock.get());
    MediaControls mediaControls;
    const MediaSession mediaSession(&mediaControls, app.player(), app.fip());
    QObject::connect(&mediaControls, &MediaControls::raiseRequested, &actions,
                     [&actions] { actions.perform(LaunchOptions{.action = Action::show}); });
    QObject::connect(&mediaControls, &MediaControls::quitRequested, &application, &QCoreApplication::quit);
    mediaControls.publish();
    QObject::connect(&instance, &SingleInstance::actionReceived, &actions,
                     [&actions](const QString &message) { actions.perform(fromHandoverMessage(message)); });
    actions.perform(options);
    return application.exec();
}
