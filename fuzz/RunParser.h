// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace airnote {

// Hands libFuzzer's input to parse as the QByteArray a network reply or a file
// read would give. The parser's declared error is its answer to bad input;
// anything else (another exception, a crash, a sanitizer report, a leak)
// leaves this function and is a finding.
template<typename DeclaredError, typename Parser>
int runParser(const std::uint8_t *data, std::size_t size, Parser &&parse)
{
    try {
        parse(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    } catch (const DeclaredError &) {
    }
    return 0;
}

} // namespace airnote
