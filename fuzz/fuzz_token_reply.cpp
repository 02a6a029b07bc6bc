#include "RunParser.h"

#include "music/TokenResponse.h"
#include "platform/Error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::JsonError>(data, size, [](const QByteArray &reply) {
        airnote::TokenResponse::decode(reply);
    });
}
