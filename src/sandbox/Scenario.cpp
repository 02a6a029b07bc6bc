// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Scenario.h"

#include "fakes/FakeAppleMusic.h"

namespace airnote::sandbox {

namespace {

using fakes::FakeStation;

FakeStation::Item music(const QString &title, const QString &artist, const QString &songUuid,
                        std::optional<QString> cover)
{
    return {.title = title, .artist = artist, .songUuid = songUuid, .cover = std::move(cover)};
}

FakeStation::Item segment(const QString &title, const QString &subtitle, std::optional<QString> cover)
{
    return {.title = title, .artist = subtitle, .songUuid = std::nullopt, .cover = std::move(cover)};
}

struct CatalogSong
{
    QString id;
    QString name;
    QString artistName;
    QString albumName;
    QString cover;  // empty: a cover of its own, named after the song
};

} // namespace

QList<FakeStation::Item> programme()
{
    return {
        music(QStringLiteral("Harbour Lights"), QStringLiteral("Mira & Sol"),
              QStringLiteral("9c700f78-0b6b-4fd8-9615-9bd7f78efc92"), QStringLiteral("a26fc230-bd4b-486a-9ac4-0d916ffe00ef")),
        music(QStringLiteral("Night Drive"), QStringLiteral("Orchestre Lumière"),
              QStringLiteral("f6c1fa12-2f5a-4ce4-97d5-e8f764a7a4f1"), QStringLiteral("60ad4a52-ef1b-4833-ad80-cb81ec7a6d49")),
        segment(QStringLiteral("Le direct"), QStringLiteral("La radio la plus éclectique du monde"),
                QStringLiteral("ebfae587-6214-498a-8f50-131ada64b1f3")),
        music(QStringLiteral("Chloé"), QStringLiteral("Élise Marchand"),
              QStringLiteral("74603788-1a88-4876-a826-4cacdd0dc4c8"), QStringLiteral("b4b9c189-ec0f-4991-96eb-1724aae3ecd4")),
        music(QStringLiteral("Saudade em Lisboa"), QStringLiteral("Trio Aurora"),
              QStringLiteral("2375a3ef-07f6-49c8-8418-bd2e90152a19"), QStringLiteral("192546de-596a-4ea6-9ea7-636c2081a573")),
        music(QStringLiteral("Les Quais de Saône"), QStringLiteral("Jean-Loup Marchetti"),
              QStringLiteral("fefd93b2-2180-4573-b4c8-f9ec45074516"), QStringLiteral("ca84c4fb-1fbd-44ed-8c86-9fe91716b1a6")),
        music(QStringLiteral("Café Tropical"), QStringLiteral("Los Hermanos Duarte"),
              QStringLiteral("108e478b-2c2f-4590-83d5-0495a2256538"), std::nullopt),
        segment(QStringLiteral("Club Jazzafip"), QStringLiteral("Le rendez-vous jazz du soir"), std::nullopt),
        music(QStringLiteral("Mon cœur s'envole"), QStringLiteral("Camille Orsini"),
              QStringLiteral("08b73d27-4365-43ab-870e-f3d57af4c396"), QStringLiteral("ee8cd823-ee6c-4705-8843-8754573cf458")),
        music(QStringLiteral("Morning Tide"), QStringLiteral("Kestrel Bay"),
              QStringLiteral("3b94a7f5-dd43-4f05-8259-576822cde3fb"), QStringLiteral("8675fa0e-8069-430f-95b7-15ad49e49cb6")),
        music(QStringLiteral("Rue des Lilas"), QStringLiteral("Paloma Reyes"),
              QStringLiteral("bba25d33-ccda-4499-8f86-09fbf15df058"), QStringLiteral("03f85039-2c39-4c94-b615-9a0e3ea9985b")),
    };
}

QJsonArray catalog(const QUrl &imageBase)
{
    // The station's cover where the catalog holds the very recording it plays.
    const QList<CatalogSong> songs{
        {QStringLiteral("1712000001"), QStringLiteral("Harbour Lights"), QStringLiteral("Mira & Sol"), QStringLiteral("Tides"),
         QStringLiteral("a26fc230-bd4b-486a-9ac4-0d916ffe00ef")},
        {QStringLiteral("1712000002"), QStringLiteral("Harbour Lights (Live at the Olympia)"), QStringLiteral("Mira & Sol"),
         QStringLiteral("Live at the Olympia"), {}},
        {QStringLiteral("1712000003"), QStringLiteral("Harbour Lights - Live in Lyon"), QStringLiteral("Mira & Sol"),
         QStringLiteral("Tournée 2024"), {}},
        {QStringLiteral("1712000004"), QStringLiteral("Lighthouse"), QStringLiteral("Mira & Sol"), QStringLiteral("Tides"), {}},
        {QStringLiteral("1712000011"), QStringLiteral("Night Drive (feat. Lou Vega)"),
         QStringLiteral("Orchestre Lumière & Lou Vega"), QStringLiteral("Nocturnes"), {}},
        {QStringLiteral("1712000012"), QStringLiteral("Drive Home"), QStringLiteral("The Night Owls"), {}, {}},
        {QStringLiteral("1712000021"), QStringLiteral("Chloe"), QStringLiteral("Elise Marchand"), QStringLiteral("Portraits"),
         QStringLiteral("b4b9c189-ec0f-4991-96eb-1724aae3ecd4")},
        {QStringLiteral("1712000031"), QStringLiteral("Les Quais de Saone"), QStringLiteral("Jean Loup Marchetti"),
         QStringLiteral("Fleuves"), {}},
        {QStringLiteral("1712000041"), QStringLiteral("Café Tropical"), QStringLiteral("Los Hermanos Duarte"),
         QStringLiteral("Verano"), {}},
        {QStringLiteral("1712000051"), QStringLiteral("Mon Coeur S'envole"), QStringLiteral("Camille Orsini"),
         QStringLiteral("Envol"), {}},
        {QStringLiteral("1712000061"), QStringLiteral("Baie des Anges"), QStringLiteral("Les Mouettes"), {}, {}},
        {QStringLiteral("1712000062"), QStringLiteral("Low Tide"), QStringLiteral("Xu Yang"), {}, {}},
        {QStringLiteral("1712000071"), QStringLiteral("Rue des Lilas"), QStringLiteral("Paloma Reyes"),
         QStringLiteral("Jardins"), QStringLiteral("03f85039-2c39-4c94-b615-9a0e3ea9985b")},
        {QStringLiteral("1712000072"), QStringLiteral("Lilas blancs"), QStringLiteral("Paloma Reyes"),
         QStringLiteral("Jardins"), {}},
    };
    const QString images = imageBase.toString(QUrl::StripTrailingSlash) + QStringLiteral("/pikapi/images/");
    QJsonArray resources;
    for (const CatalogSong &song : songs) {
        const QString cover = song.cover.isEmpty() ? QStringLiteral("catalog-") + song.id : song.cover;
        resources.append(fakes::FakeAppleMusic::songResource(song.id, song.name, song.artistName, song.albumName,
                                                             images + cover + QStringLiteral("/{w}x{h}")));
    }
    return resources;
}

} // namespace airnote::sandbox
