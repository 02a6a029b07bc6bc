#include "Artwork.h"

namespace airnote {

Artwork::Artwork(QString urlTemplate)
    : m_urlTemplate(std::move(urlTemplate))
{
}

QUrl Artwork::url(int width, int height) const
{
    QString address = m_urlTemplate;
    address.replace(QLatin1String("{w}"), QString::number(width));
    address.replace(QLatin1String("{h}"), QString::number(height));
    return QUrl(address);
}

QString Artwork::urlTemplate() const
{
    return m_urlTemplate;
}

} // namespace airnote
