// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QStringList>
#include <QtGlobal>

#include <utility>

namespace airnote::testing {

// Every line logged while it lives, passed on to the previous handler too.
class LogCapture
{
public:
    LogCapture()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(&LogCapture::record);
    }
    ~LogCapture() { qInstallMessageHandler(s_previous); }

    // Every line as "category: message".
    QStringList lines() const
    {
        QStringList lines;
        for (const auto &[category, message] : std::as_const(s_lines))
            lines.append(QString::fromLatin1(category) + QStringLiteral(": ") + message);
        return lines;
    }

    // The messages of one category, without the category.
    QStringList messagesOf(const QByteArray &category) const
    {
        QStringList messages;
        for (const auto &[lineCategory, message] : std::as_const(s_lines))
            if (lineCategory == category)
                messages.append(message);
        return messages;
    }

private:
    static void record(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        s_lines.append({QByteArray(context.category), message});
        if (s_previous)
            s_previous(type, context, message);
    }
    static inline QList<std::pair<QByteArray, QString>> s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

} // namespace airnote::testing
