// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RunParser.h"

#include "station/ParseError.h"
#include "station/StationPayload.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::ParseError>(data, size, [](const QByteArray &body) {
        airnote::parsePayload(body);
    });
}
