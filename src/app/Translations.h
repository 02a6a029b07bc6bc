// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QProcessEnvironment>
#include <QTranslator>

namespace airnote {

// The interface's texts are written in French; English is their one translation.
enum class Language { french, english };

// French for a French locale, English for any other, read as GNU gettext reads
// the environment: LANGUAGE first, unless the locale is C or POSIX, then
// LC_ALL, LC_MESSAGES and LANG.
Language chooseLanguage(const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

// While it lives, the interface and Qt's own messages (network errors among
// them) speak the language, and it is the default locale. Needs the application object.
class Translations
{
public:
    explicit Translations(Language language);

private:
    QTranslator m_ours;
    QTranslator m_qt;
};

} // namespace airnote
