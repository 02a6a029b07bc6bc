#pragma once

#include <QString>

#include <memory>

class QSettings;

namespace airnote {

// The program's settings: the given INI file, or the user's Airnote.conf when empty.
std::unique_ptr<QSettings> openSettings(const QString &file);

} // namespace airnote
