// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/CatalogMatch.h"
#include "station/FIPTrack.h"

#include <QCoreApplication>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantList>

#include <type_traits>
#include <variant>

namespace airnote {

// The look of the status card: a spinner while the save flow works, or the
// symbol of its outcome.
namespace StatusKind {
Q_NAMESPACE
enum Kind { Loading, Success, Info, Failure };
Q_ENUM_NS(Kind)
} // namespace StatusKind

// The state of the save flow shown in the panel. States are identified, and
// compared, by their id alone: the panel animates only when the id changes.
class SheetState
{
    Q_GADGET
    Q_DECLARE_TR_FUNCTIONS(airnote::SheetState)
    // A StatusKind::Kind; declared int because Qt 6.4's QML cannot convert a
    // namespace's enum read from a value type ("Type error").
    Q_PROPERTY(int statusKind READ statusKind CONSTANT)
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

    // The match preview has a face of its own; every other state is a status
    // card with a kind, a title and a subtitle (empty for none).
    bool isPreview() const;
    StatusKind::Kind statusKind() const;
    QString title() const;
    QString subtitle() const;

    // The track of the searching, preview and saving states; an empty track otherwise.
    FIPTrack track() const;
    // The preview's candidates as CatalogMatch values, best first.
    QVariantList matchList() const;

    bool operator==(const SheetState &other) const;

private:
    Case m_value;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::SheetState)
