// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// Airnote's coroutines return QCoro::Task<T>: include this header rather than
// QCoro's, and keep to what follows.
#include <QCoroTask>

// g++ 12, the compiler of Debian 12, mishandles three shapes of coroutine code
// (GCC PR 100611 and 101367, 106188, 103871), so none appears in this code:
//
// 1. A statement holding co_await builds no aggregate (a struct without
//    constructors made with Agg{...} or Agg(...), a std::array, a bare {...}
//    argument, an Agg{co_await f()}) and no lambda that copies something with
//    a destructor: g++ destroys it twice. Build it in a statement of its own
//    and pass it by name. Temporaries of real classes (QString, QUrl,
//    QNetworkRequest, CaptureRecord) are fine, and so is copying a named
//    aggregate into a parameter.
// 2. No co_await in the condition of an if or a switch: in a coroutine with
//    no local variable, resuming it jumps to a null address. Await into a
//    named local, then test it.
// 3. No {...} initializer list in a statement holding co_await: g++ 12 stops
//    compiling.
//
// QCoro 0.8 moves from a non-const lvalue given to co_return, so a member or a
// global is returned through a const local copy, or it is left empty.
//
// And in any C++: take coroutine parameters by value. A task starts at once
// and outlives the caller's statement, so a reference parameter bound to the
// caller's temporary dangles after the first suspension.
//
// tests/core runs the shapes this code uses with a lifetime counter, and
// make check-sanitize runs them under AddressSanitizer.
