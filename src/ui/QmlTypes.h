// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/HistoryFilter.h"
#include "app/HistoryModel.h"
#include "app/PanelModel.h"
#include "app/SaveWorkflow.h"
#include "app/SheetState.h"
#include "app/StationChoice.h"
#include "app/UpdateChecker.h"
#include "music/CatalogMatch.h"
#include "music/Song.h"
#include "playback/StationPlayer.h"
#include "station/FIPMetadataService.h"
#include "station/FIPTrack.h"

#include <QtQml/qqmlregistration.h>

// How QML sees the objects and values of the layers below. They are declared
// here, in the one QML module, so that the services and models stay plain Qt
// and need no QML of their own; qmllint checks every binding against them.
namespace airnote::qml {

struct PanelModelType
{
    Q_GADGET
    QML_FOREIGN(airnote::PanelModel)
    QML_NAMED_ELEMENT(PanelModel)
    QML_UNCREATABLE("The application owns the panel model.")
};

struct SaveWorkflowType
{
    Q_GADGET
    QML_FOREIGN(airnote::SaveWorkflow)
    QML_NAMED_ELEMENT(SaveWorkflow)
    QML_UNCREATABLE("The application owns the save workflow.")
};

struct StationChoiceType
{
    Q_GADGET
    QML_FOREIGN(airnote::StationChoice)
    QML_NAMED_ELEMENT(StationChoice)
    QML_UNCREATABLE("The application owns the station choice.")
};

struct StationPlayerType
{
    Q_GADGET
    QML_FOREIGN(airnote::StationPlayer)
    QML_NAMED_ELEMENT(StationPlayer)
    QML_UNCREATABLE("The application owns the player.")
};

struct HistoryModelType
{
    Q_GADGET
    QML_FOREIGN(airnote::HistoryModel)
    QML_NAMED_ELEMENT(HistoryModel)
    QML_UNCREATABLE("The application owns the history.")
};

struct HistoryFilterType
{
    Q_GADGET
    QML_FOREIGN(airnote::HistoryFilter)
    QML_NAMED_ELEMENT(HistoryFilter)
    QML_UNCREATABLE("The panel model owns the history's filter.")
};

struct UpdateCheckerType
{
    Q_GADGET
    QML_FOREIGN(airnote::UpdateChecker)
    QML_NAMED_ELEMENT(UpdateChecker)
    QML_UNCREATABLE("The application owns the update checker.")
};

struct FIPMetadataServiceType
{
    Q_GADGET
    QML_FOREIGN(airnote::FIPMetadataService)
    QML_NAMED_ELEMENT(FIPMetadataService)
    QML_UNCREATABLE("The application owns the poller.")
};

namespace StatusKindType {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(airnote::StatusKind)
QML_NAMED_ELEMENT(StatusKind)
} // namespace StatusKindType

struct SheetStateType
{
    Q_GADGET
    QML_FOREIGN(airnote::SheetState)
    QML_VALUE_TYPE(sheetState)
};

struct FIPTrackType
{
    Q_GADGET
    QML_FOREIGN(airnote::FIPTrack)
    QML_VALUE_TYPE(fipTrack)
};

struct CatalogMatchType
{
    Q_GADGET
    QML_FOREIGN(airnote::CatalogMatch)
    QML_VALUE_TYPE(catalogMatch)
};

struct SongType
{
    Q_GADGET
    QML_FOREIGN(airnote::Song)
    QML_VALUE_TYPE(song)
};

} // namespace airnote::qml
