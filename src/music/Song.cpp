#include "Song.h"

namespace airnote {

QString Song::albumTitleOrEmpty() const
{
    return albumTitle.value_or(QString());
}

QUrl Song::artworkURL(int width, int height) const
{
    return artwork ? artwork->url(width, height) : QUrl();
}

} // namespace airnote
