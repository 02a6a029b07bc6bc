#include "RunParser.h"

#include "music/AppleMusicReplies.h"
#include "platform/Error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::JsonError>(data, size, [](const QByteArray &reply) {
        airnote::firstResourceID(reply);
        airnote::playlistIDNamed(reply, QStringLiteral("FIP"));
    });
}
