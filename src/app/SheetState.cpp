// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SheetState.h"

namespace airnote {

namespace {

template<class... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};

QString joined(const QString &first, const QString &second)
{
    return first + QStringLiteral(" — ") + second;
}

} // namespace

SheetState::SheetState()
    : m_value(Failure{})
{
}

const SheetState::Case &SheetState::value() const
{
    return m_value;
}

QString SheetState::id() const
{
    const QLatin1Char dash('-');
    return std::visit(Overloaded{
                          [&](const Searching &s) { return QStringLiteral("searching-") + s.track.title + dash + s.track.artist; },
                          [&](const Preview &s) { return QStringLiteral("preview-") + s.track.title + dash + s.track.artist; },
                          [&](const Saving &s) { return QStringLiteral("saving-") + s.track.title + dash + s.match.song.id; },
                          [&](const Success &s) { return QStringLiteral("success-") + s.title + dash + s.artist; },
                          [&](const AlreadySaved &s) { return QStringLiteral("already-") + s.title + dash + s.artist; },
                          [&](const Failure &s) { return QStringLiteral("failure-") + s.message; },
                      },
                      m_value);
}

bool SheetState::isPreview() const
{
    return std::holds_alternative<Preview>(m_value);
}

StatusKind::Kind SheetState::statusKind() const
{
    return std::visit(Overloaded{
                          [](const Searching &) { return StatusKind::Loading; },
                          [](const Preview &) { return StatusKind::Loading; },
                          [](const Saving &) { return StatusKind::Loading; },
                          [](const Success &) { return StatusKind::Success; },
                          [](const AlreadySaved &) { return StatusKind::Info; },
                          [](const Failure &) { return StatusKind::Failure; },
                      },
                      m_value);
}

QString SheetState::title() const
{
    return std::visit(Overloaded{
                          [](const Searching &) { return tr("Recherche dans Apple Music…"); },
                          [](const Preview &) { return QString(); },
                          [](const Saving &) { return tr("Sauvegarde…"); },
                          [](const Success &) { return tr("Sauvé dans Apple Music"); },
                          [](const AlreadySaved &) { return tr("Déjà sauvé récemment"); },
                          [](const Failure &) { return tr("Échec"); },
                      },
                      m_value);
}

QString SheetState::subtitle() const
{
    return std::visit(Overloaded{
                          [](const Searching &s) { return joined(s.track.artist, s.track.title); },
                          [](const Preview &) { return QString(); },
                          [](const Saving &s) { return joined(s.match.song.artistName, s.match.song.title); },
                          [](const Success &s) { return joined(s.artist, s.title); },
                          [](const AlreadySaved &s) { return joined(s.artist, s.title); },
                          [](const Failure &s) { return s.message; },
                      },
                      m_value);
}

FIPTrack SheetState::track() const
{
    if (const auto *preview = std::get_if<Preview>(&m_value))
        return preview->track;
    if (const auto *saving = std::get_if<Saving>(&m_value))
        return saving->track;
    if (const auto *searching = std::get_if<Searching>(&m_value))
        return searching->track;
    return {};
}

QVariantList SheetState::matchList() const
{
    QVariantList list;
    if (const auto *preview = std::get_if<Preview>(&m_value)) {
        for (const CatalogMatch &match : preview->matches)
            list.append(QVariant::fromValue(match));
    }
    return list;
}

bool SheetState::operator==(const SheetState &other) const
{
    return id() == other.id();
}

} // namespace airnote
