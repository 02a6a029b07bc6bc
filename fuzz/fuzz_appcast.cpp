// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RunParser.h"

#include "app/Appcast.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::AppcastError>(data, size, [](const QByteArray &xml) {
        // Choosing the newest item compares the feed's own version strings.
        if (const std::optional<airnote::AppcastItem> newest = airnote::newestItem(airnote::parseAppcast(xml)))
            newest->displayVersion();
    });
}
