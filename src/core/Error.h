// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace airnote {

// Base of every error the program raises. QCoro carries exceptions to the
// awaiting coroutine, so callers catch this type and show its description.
class Error : public std::exception
{
public:
    explicit Error(QString description);

    // The text the listener sees, or the log shows.
    virtual QString localizedDescription() const;
    const char *what() const noexcept override;

private:
    QString m_description;
    QByteArray m_utf8;
};

// A transfer that did not complete: refused connection, timeout, TLS...
// Keeps the network layer's own text.
class NetworkError : public Error
{
public:
    using Error::Error;
};

// A file that could not be read or written; keeps the system's text.
class FileError : public Error
{
public:
    using Error::Error;
};

// A document that is not the JSON we expect; keeps the parser's text.
class JsonError : public Error
{
public:
    using Error::Error;
};

// A refused environment override or another unusable setting.
class ConfigurationError : public Error
{
public:
    using Error::Error;
};

} // namespace airnote
