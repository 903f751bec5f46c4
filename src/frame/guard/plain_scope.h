#pragma once

#include "frame/guard/failure.h"

#include <emantle/frame/eerr.h>

namespace emantle {

/* The scope of a function that neither throws nor calls what throws: leaf functions, hot ones, ones without an error
 * argument of their own.
 *
 *     EMANTLE_API int exmp_TrackCut(Exmp_Track* track, int first, Eerr_ErrorReport** err)
 *     {
 *         PlainScope scope("exmp_TrackCut", err);
 *         if (track == nullptr) {
 *             return scope.raise("NULL track"), -1;
 *         }
 *         const int count = exmp_TrackCount(track, scope);
 *         if (scope.failed()) {
 *             return scope.raise({nullptr, 2}), -1;
 *         }
 *         ...
 *     }
 *
 *  1. The scope clears `*err`. Callees get the scope as their error argument, and leave their chain in it.
 *  2. `raise` puts a record in front of the callee's chain, if there is one, or of what was raised before, and hands all
 *     to the caller.
 *  3. At the end a callee's chain that was not raised is handed over bare when the caller asked for reports; without an
 *     error argument of the caller everything held is printed. */
class PlainScope {
public:
    PlainScope(const char* function, Eerr_ErrorReport** err) noexcept
        : function_(function), out_(err == nullptr ? &untold_ : err)
    {
        *out_ = nullptr;
    }
    ~PlainScope()
    {
        if (held_ != nullptr || untold_ != nullptr) [[unlikely]] {
            finish();
        }
    }
    PlainScope(const PlainScope&) = delete;
    PlainScope& operator=(const PlainScope&) = delete;

    /* A chain that is still held would be lost to the callee: it is told first. */
    operator Eerr_ErrorReport**() noexcept
    {
        if (held_ != nullptr) [[unlikely]] {
            tellAndForget();
        }
        return &held_;
    }

    bool failed() const noexcept { return held_ != nullptr; }

    void raise(Say text) noexcept;

    template <class First, class... Rest>
    void raise(SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text, First first,
               Rest... rest) noexcept
    {
        raiseFormatted(text.number, text.format, first, rest...);
    }

    /* Prints the callee's chain as something that is told and gone on after, and drops it. */
    void tellAndForget(long line = __builtin_LINE()) noexcept;

    /* Drops the callee's chain. */
    void forget() noexcept { eerr_DeleteErrorReportEx(&held_); }

private:
    void finish() noexcept;
    Eerr_ErrorReport* below() const noexcept;
    void handUp(Eerr_ErrorReport* head) noexcept;
    void raiseFormatted(long number, const char* format, ...) noexcept;

    const char* function_;
    Eerr_ErrorReport** out_;
    Eerr_ErrorReport* held_ = nullptr;
    Eerr_ErrorReport* untold_ = nullptr; /* what was raised, where the caller wants no reports */
};

/* Prints one warning of `function`, and deletes it. */
void warn(const char* function, Say text) noexcept;
void warnFormatted(const char* function, long number, const char* format, ...) noexcept;

template <class First, class... Rest>
void warn(const char* function, SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text, First first,
          Rest... rest) noexcept
{
    warnFormatted(function, text.number, text.format, first, rest...);
}

}  // namespace emantle
