// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Translations.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QProcessEnvironment>

#include <optional>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

// The language of "fr_CA.UTF-8", "fr@euro" or "fr": what comes before the territory,
// the character set or the modifier.
QString languageCode(const QString &locale)
{
    qsizetype end = 0;
    while (end < locale.size() && locale.at(end).isLetter())
        ++end;
    return locale.left(end).toLower();
}

std::optional<Language> languageOf(const QString &locale)
{
    const QString code = languageCode(locale);
    if (code == "fr"_L1)
        return Language::french;
    if (code == "en"_L1)
        return Language::english;
    return std::nullopt;
}

} // namespace

Language chooseLanguage(const QProcessEnvironment &environment)
{
    QString locale;
    for (const QString &name : {u"LC_ALL"_s, u"LC_MESSAGES"_s, u"LANG"_s}) {
        locale = environment.value(name);
        if (!locale.isEmpty())
            break;
    }
    // No locale at all is the C locale too, where gettext leaves LANGUAGE aside.
    const QString code = languageCode(locale);
    if (!code.isEmpty() && code != "c"_L1 && code != "posix"_L1) {
        for (const QString &entry : environment.value(u"LANGUAGE"_s).split(u':', Qt::SkipEmptyParts)) {
            if (const std::optional<Language> language = languageOf(entry))
                return *language;
        }
    }
    return languageOf(locale).value_or(Language::english);
}

Translations::Translations(Language language)
{
    const QString code = language == Language::french ? u"fr"_s : u"en"_s;
    QLocale::setDefault(QLocale(code));
    // French needs its catalog too, for its plural forms. Both are in the program's resources.
    if (m_ours.load(u":/i18n/airnote_"_s + code))
        QCoreApplication::installTranslator(&m_ours);
    else
        qCWarning(uiLogger).noquote() << "The interface's catalog for" << code << "is missing from the resources";
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (m_qt.load(u"qtbase_"_s + code, folder))
        QCoreApplication::installTranslator(&m_qt);
    else
        qCWarning(uiLogger).noquote() << "No Qt translation" << u"qtbase_"_s + code << "in" << folder
                                      << "- Qt's own messages stay in English";
}

} // namespace airnote
