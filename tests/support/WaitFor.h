// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QEventLoop>

#include "core/Coroutines.h"

#include <exception>
#include <optional>
#include <type_traits>
#include <variant>

namespace airnote::testing {

namespace detail {

template<typename T>
using Result = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

template<typename T>
QCoro::Task<> settle(QCoro::Task<T> task, std::optional<Result<T>> *value, std::exception_ptr *error,
                     QEventLoop *loop)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            value->emplace();
        } else {
            T result = co_await task;
            value->emplace(std::move(result));
        }
    } catch (...) {
        *error = std::current_exception();
    }
    loop->quit();
}

} // namespace detail

// Runs the event loop until the task ends, then returns what it returned or
// rethrows what it threw, where QTest reports it. QCoro 0.8's own waitFor
// never returns from a task that throws. Call it as testing::waitFor: unqualified,
// argument-dependent lookup also finds QCoro's.
template<typename T>
T waitFor(QCoro::Task<T> task)
{
    std::optional<detail::Result<T>> value;
    std::exception_ptr error;
    QEventLoop loop;
    auto settling = detail::settle(std::move(task), &value, &error, &loop);
    if (!value && !error)
        loop.exec();
    if (error)
        std::rethrow_exception(error);
    if constexpr (!std::is_void_v<T>)
        return std::move(*value);
}

} // namespace airnote::testing
