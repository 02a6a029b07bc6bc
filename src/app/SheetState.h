// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/CatalogMatch.h"
#include "station/FIPTrack.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantList>

#include <type_traits>
#include <variant>

namespace airnote {

// The state of the save flow shown in the panel. States are identified, and
// compared, by their id alone: the panel animates only when the id changes.
class SheetState
{
    Q_GADGET
    Q_PROPERTY(QString id READ id CONSTANT)
    Q_PROPERTY(QString face READ face CONSTANT)
    Q_PROPERTY(QString statusKind READ statusKind CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString subtitle READ subtitle CONSTANT)
    Q_PROPERTY(airnote::FIPTrack track READ track CONSTANT)
    Q_PROPERTY(QVariantList matches READ matchList CONSTANT)

public:
    struct Searching { FIPTrack track; };
    struct Preview { FIPTrack track; QList<CatalogMatch> matches; };
    struct Saving { FIPTrack track; CatalogMatch match; };
    struct Success { QString artist; QString title; };
    struct AlreadySaved { QString artist; QString title; };
    struct Failure { QString message; };
    using Case = std::variant<Searching, Preview, Saving, Success, AlreadySaved, Failure>;

    SheetState();  // a failure with no message; exists for the meta-type system
    // Implicit, so that a case reads as a state: setSheet(SheetState::Success{artist, title}).
    template<class State>
        requires std::is_constructible_v<Case, State>
    SheetState(State state)  // NOLINT(google-explicit-constructor)
        : m_value(std::move(state))
    {
    }

    const Case &value() const;
    QString id() const;

    // What the panel shows for this state: "preview" for the match preview,
    // "status" for the status card with statusKind, title and subtitle.
    QString face() const;
    QString statusKind() const;
    QString title() const;
    QString subtitle() const;

    // The preview's or the saving state's track; an empty track otherwise.
    FIPTrack track() const;
    QVariantList matchList() const;

    bool operator==(const SheetState &other) const;

private:
    Case m_value;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::SheetState)
