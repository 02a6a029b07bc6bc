#pragma once

#include <QString>

namespace airnote {

// The comparable form of an artist name or a title: lower case, bracketed
// featuring/remaster/deluxe/bonus/live mentions removed, diacritics stripped,
// punctuation dropped and blanks collapsed.
QString normalize(const QString &text);

// Jaro similarity with Winkler's prefix bonus (scale 0.1, prefix of at most
// four), over user-perceived characters. Empty input scores 0.
double jaroWinkler(const QString &a, const QString &b);

} // namespace airnote
