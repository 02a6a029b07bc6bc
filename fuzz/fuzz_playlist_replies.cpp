// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RunParser.h"

#include "music/AppleMusicReplies.h"
#include "core/Error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::JsonError>(data, size, [](const QByteArray &reply) {
        airnote::firstResourceID(reply);
        airnote::playlistIDNamed(reply, QStringLiteral("FIP"));
    });
}
