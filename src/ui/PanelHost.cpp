// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PanelHost.h"

#include "app/UpdateChecker.h"
#include "core/Logging.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace airnote {

namespace {

// The panel is a few labels, images and one fade: Qt Quick's software renderer
// draws it without a GPU context. A GL driver, once loaded, stays mapped for the
// life of the process (about 80 MB of Mesa's); QT_QUICK_BACKEND still overrides.
void preferSoftwareRendering()
{
    static const bool chosen = [] {
        if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND"))
            QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
    Q_UNUSED(chosen);
}

} // namespace

PanelHost::PanelHost(PanelModel *model, UpdateChecker *updater, PanelWindow::Presentation presentation,
                     std::chrono::milliseconds releaseDelay, QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_updater(updater)
    , m_presentation(presentation)
{
    preferSoftwareRendering();
    m_releaseTimer.setSingleShot(true);
    m_releaseTimer.setInterval(releaseDelay);
    connect(&m_releaseTimer, &QTimer::timeout, this, &PanelHost::release);
    connect(updater, &UpdateChecker::resultReady, this, &PanelHost::showUpdateDialog);
}

PanelHost::~PanelHost()
{
    // A window still shown reports its closing while it goes: not to a host half gone.
    for (QWindow *window : std::initializer_list<QWindow *>{m_window.get(), m_updateDialog.get()}) {
        if (window)
            window->disconnect(this);
    }
}

void PanelHost::showNextTo(QRect anchor)
{
    m_sinceShowRequest.start();
    buildPanel();
    m_window->showNextTo(anchor);
    releaseWhenClosed();
}

void PanelHost::toggleNextTo(QRect anchor)
{
    m_sinceShowRequest.start();
    buildPanel();
    // The click that closes the panel has often hidden it already, by taking
    // the focus away; then this toggle does nothing, and the release must go on.
    m_window->toggleNextTo(anchor);
    releaseWhenClosed();
}

void PanelHost::setPresentation(PanelWindow::Presentation presentation)
{
    if (presentation == m_presentation)
        return;
    m_presentation = presentation;
    // Flags and behaviour are set when the window is built.
    if (m_window) {
        m_window->disconnect(this);
        m_window.reset();
        releaseWhenClosed();
    }
}

PanelWindow *PanelHost::window() const
{
    return m_window.get();
}

QQuickWindow *PanelHost::updateDialog() const
{
    return m_updateDialog.get();
}

void PanelHost::buildEngine()
{
    if (!m_engine)
        m_engine = std::make_unique<QQmlEngine>();
}

void PanelHost::buildPanel()
{
    buildEngine();
    if (!m_window) {
        m_window = std::make_unique<PanelWindow>(m_engine.get(), m_model, m_presentation);
        connect(m_window.get(), &QWindow::visibleChanged, this, &PanelHost::releaseWhenClosed);
        connect(m_window.get(), &QQuickWindow::frameSwapped, this, &PanelHost::logFirstFrame);
    }
}

void PanelHost::buildUpdateDialog()
{
    buildEngine();
    if (m_updateDialog)
        return;
    QQmlComponent dialog(m_engine.get(), QUrl(QStringLiteral("qrc:/qt-project.org/imports/Airnote/UI/UpdateDialog.qml")));
    m_updateDialog.reset(qobject_cast<QQuickWindow *>(
        dialog.createWithInitialProperties({{QStringLiteral("updater"), QVariant::fromValue(m_updater)}})));
    // The dialog is compiled into the module: failing to build it is a broken build, not a runtime state.
    if (!m_updateDialog)
        qFatal("UpdateDialog.qml: %s", qPrintable(dialog.errorString()));
    connect(m_updateDialog.get(), &QWindow::visibleChanged, this, &PanelHost::releaseWhenClosed);
}

void PanelHost::showUpdateDialog()
{
    // A window of its own rather than one tied to the panel: a scheduled check
    // can find an update while the panel is closed.
    const bool panelShown = m_window && m_window->isVisible();
    buildUpdateDialog();
    const QRect available = (panelShown ? m_window->screen() : QGuiApplication::primaryScreen())->availableGeometry();
    m_updateDialog->setPosition(available.center() - QPoint(m_updateDialog->width() / 2, m_updateDialog->height() / 2));
    m_updateDialog->show();
    m_updateDialog->raise();
    m_updateDialog->requestActivate();
    releaseWhenClosed();
}

void PanelHost::releaseWhenClosed()
{
    const bool shown = (m_window && m_window->isVisible()) || (m_updateDialog && m_updateDialog->isVisible());
    if (shown)
        m_releaseTimer.stop();
    else
        m_releaseTimer.start();
}

void PanelHost::release()
{
    m_updateDialog.reset();
    m_window.reset();
    m_engine.reset();
#ifdef __GLIBC__
    // Freed heap stays with the process until it is handed back.
    malloc_trim(0);
#endif
    qCDebug(uiLogger, "Panel released");
    Q_EMIT released();
}

void PanelHost::logFirstFrame()
{
    if (!m_sinceShowRequest.isValid())
        return;
    qCDebug(uiLogger, "Panel first frame %lld ms after the request", static_cast<long long>(m_sinceShowRequest.elapsed()));
    m_sinceShowRequest.invalidate();
}

} // namespace airnote
