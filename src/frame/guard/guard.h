#pragma once

#include "frame/guard/failure.h"

#include <emantle/frame/eerr.h>
#include <type_traits>
#include <utility>

/* The edge of the library: how a plain function fails.
 *
 *     EMANTLE_API Exmp_Track* exmp_TrackResample(const Exmp_Track* track, double step, Eerr_ErrorReport** err)
 *     {
 *         return guarded<Exmp_Track*>(err, "exmp_TrackResample", nullptr, [&](EerrException& scope) {
 *             require(step > 0, "The step is %g; it must be above 0", step);
 *             const Points points = checked(scope, exmp_TrackPoints(track, scope));
 *             return makeTrack(resample(points, step)).release();
 *         });
 *     }
 *
 *  1. The body passes `scope` as the error argument of what it calls, and wraps each call that can fail in `checked`.
 *     It throws with `fail` and `require`. It owns fresh memory until its return.
 *     A call in the arguments of another that takes `scope` is wrapped for itself:
 *     `checked(scope, f(checked(scope, g(scope)), scope))`; else the chain of `g` is lost.
 *  2. A failure of the body's own is one record: function, line, text. A failure of a callee is one record in front of
 *     the callee's chain: "<callee> failed", or the text given to `checked`.
 *  3. The result is `failure` unless the body returned. Without an error argument of the caller, the chain is printed. */

namespace emantle {

/* Turns what is being handled into the chain of `scope`. Called in a handler only; lets nothing out. */
void takeThrown(EerrException& scope, long line) noexcept;

/* `call` is what a callee returned; throws where the callee left a chain in `scope`. */
template <class Value>
Value checked(EerrException& scope, Value&& call, long line = __builtin_LINE())
{
    if (scope) {
        throw Failure(FailureOf::callee, line);
    }
    return std::forward<Value>(call);
}

template <class Value>
Value checked(EerrException& scope, Value&& call, Say text)
{
    if (scope) {
        fail(text);
    }
    return std::forward<Value>(call);
}

template <class Value, class First, class... Rest>
Value checked(EerrException& scope, Value&& call,
              SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text, First first, Rest... rest)
{
    if (scope) {
        fail(text, first, rest...);
    }
    return std::forward<Value>(call);
}

/* The same behind a call that returns nothing. */
inline void check(EerrException& scope, long line = __builtin_LINE())
{
    if (scope) {
        throw Failure(FailureOf::callee, line);
    }
}

inline void check(EerrException& scope, Say text)
{
    if (scope) {
        fail(text);
    }
}

template <class First, class... Rest>
void check(EerrException& scope, SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text, First first,
           Rest... rest)
{
    if (scope) {
        fail(text, first, rest...);
    }
}

namespace detail {

inline void clear(Eerr_ErrorReport** err) noexcept
{
    if (err != nullptr) {
        *err = nullptr;
    }
}

inline void handOver(EerrException& scope, Eerr_ErrorReport** err) noexcept
{
    if (err != nullptr) {
        *err = scope.Release();
    }
}

template <class Body>
decltype(auto) run(Body& body, EerrException& scope)
{
    if constexpr (std::is_invocable_v<Body&, EerrException&>) {
        return body(scope);
    } else {
        return body();
    }
}

}  // namespace detail

template <class Result, class Body>
Result guarded(Eerr_ErrorReport** err, const char* function, std::type_identity_t<Result> failure, Body&& body,
               long line = __builtin_LINE())
{
    detail::clear(err);
    EerrException scope(OrvikLog::Literal{function});
    Result result = failure;
    try {
        result = detail::run(body, scope);
    } catch (...) {
        takeThrown(scope, line);
    }
    detail::handOver(scope, err);
    return result;
}

template <class Body>
void guarded(Eerr_ErrorReport** err, const char* function, Body&& body, long line = __builtin_LINE())
{
    detail::clear(err);
    EerrException scope(OrvikLog::Literal{function});
    try {
        detail::run(body, scope);
    } catch (...) {
        takeThrown(scope, line);
    }
    detail::handOver(scope, err);
}

/* Prints the chain of `scope` as something that `function` tells and goes on after, and drops it. */
void tellAndForget(EerrException& scope, const char* function, long line = __builtin_LINE()) noexcept;

}  // namespace emantle
