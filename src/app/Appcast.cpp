// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Appcast.h"

#include <QCoreApplication>
#include <QStringList>
#include <QXmlStreamReader>

#include <algorithm>

namespace airnote {

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView sparkleNamespace = "http://www.andymatuschak.org/xml-namespaces/sparkle"_L1;

bool isSparkle(const QXmlStreamReader &reader, QLatin1StringView name)
{
    return reader.namespaceUri() == sparkleNamespace && reader.name() == name;
}

bool isPlain(const QXmlStreamReader &reader, QLatin1StringView name)
{
    return reader.namespaceUri().isEmpty() && reader.name() == name;
}

// The item's own sparkle:version and sparkle:shortVersionString win over the
// enclosure's attributes, whichever comes first in the document.
AppcastItem readItem(QXmlStreamReader &reader)
{
    AppcastItem item;
    QString enclosureVersion;
    QString enclosureShortVersion;
    while (reader.readNextStartElement()) {
        if (isPlain(reader, "title"_L1)) {
            item.title = reader.readElementText().trimmed();
        } else if (isSparkle(reader, "version"_L1)) {
            item.version = reader.readElementText().trimmed();
        } else if (isSparkle(reader, "shortVersionString"_L1)) {
            item.shortVersionString = reader.readElementText().trimmed();
        } else if (isPlain(reader, "enclosure"_L1)) {
            const QXmlStreamAttributes attributes = reader.attributes();
            item.downloadURL = QUrl(attributes.value("url"_L1).trimmed().toString());
            item.operatingSystem = attributes.value(sparkleNamespace, "os"_L1).trimmed().toString();
            enclosureVersion = attributes.value(sparkleNamespace, "version"_L1).trimmed().toString();
            enclosureShortVersion = attributes.value(sparkleNamespace, "shortVersionString"_L1).trimmed().toString();
            reader.skipCurrentElement();
        } else {
            reader.skipCurrentElement();
        }
    }
    if (item.version.isEmpty())
        item.version = enclosureVersion;
    if (item.shortVersionString.isEmpty())
        item.shortVersionString = enclosureShortVersion;
    return item;
}

std::strong_ordering compareComponents(const QString &left, const QString &right)
{
    bool leftIsNumber = false;
    bool rightIsNumber = false;
    const qulonglong leftNumber = left.toULongLong(&leftIsNumber);
    const qulonglong rightNumber = right.toULongLong(&rightIsNumber);
    if (leftIsNumber && rightIsNumber)
        return leftNumber <=> rightNumber;
    return left.compare(right) <=> 0;
}

} // namespace

QString AppcastItem::displayVersion() const
{
    return shortVersionString.isEmpty() ? version : shortVersionString;
}

bool AppcastItem::isForThisSystem() const
{
    return operatingSystem.isEmpty() || operatingSystem.compare("linux"_L1, Qt::CaseInsensitive) == 0;
}

QList<AppcastItem> parseAppcast(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    QList<AppcastItem> items;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && isPlain(reader, "item"_L1))
            items.append(readItem(reader));
    }
    if (reader.hasError()) {
        throw AppcastError(
            QCoreApplication::translate("airnote::Appcast", "flux de mises à jour illisible, ligne %1 : %2")
                .arg(reader.lineNumber())
                .arg(reader.errorString()));
    }
    return items;
}

std::strong_ordering compareVersions(const QString &left, const QString &right)
{
    const QStringList leftComponents = left.split(u'.');
    const QStringList rightComponents = right.split(u'.');
    const qsizetype count = std::max(leftComponents.size(), rightComponents.size());
    for (qsizetype index = 0; index < count; ++index) {
        const std::strong_ordering order = compareComponents(leftComponents.value(index, QStringLiteral("0")),
                                                             rightComponents.value(index, QStringLiteral("0")));
        if (order != std::strong_ordering::equal)
            return order;
    }
    return std::strong_ordering::equal;
}

std::optional<AppcastItem> newestItem(const QList<AppcastItem> &items)
{
    std::optional<AppcastItem> newest;
    for (const AppcastItem &item : items) {
        if (!item.isForThisSystem() || item.version.isEmpty() || item.downloadURL.isEmpty())
            continue;
        if (!newest || compareVersions(item.version, newest->version) > 0)
            newest = item;
    }
    return newest;
}

} // namespace airnote
