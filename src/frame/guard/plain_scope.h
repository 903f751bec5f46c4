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
 *  2. `raise` puts a record in front of the callee's chain, if there is one, and hands all to the caller.
 *  3. At the end a callee's chain that was not raised is handed over bare when the caller asked for reports; without an
 *     error argument of the caller everything held is printed. */
class PlainScope {
public:
    PlainScope(const char* function, Eerr_ErrorReport** err) noexcept : function_(function), err_(err)
    {
        if (err_ != nullptr) {
            *err_ = nullptr;
        }
    }
    ~PlainScope();
    PlainScope(const PlainScope&) = delete;
    PlainScope& operator=(const PlainScope&) = delete;

    operator Eerr_ErrorReport**() noexcept { return &held_; }

    bool failed() const noexcept { return held_ != nullptr; }

    template <class... Arguments>
    void raise(Say text, Arguments... arguments) noexcept
    {
        static_assert((std::is_scalar_v<Arguments> && ...), "printf takes numbers and pointers");
        if constexpr (sizeof...(Arguments) == 0) {
            raiseText(text);
        } else {
            raiseFormatted(text.number, text.format, arguments...);
        }
    }

    /* Prints the callee's chain as something that is told and gone on after, and drops it. */
    void tellAndForget(long line = __builtin_LINE()) noexcept;

    /* Drops the callee's chain. */
    void forget() noexcept { eerr_DeleteErrorReportEx(&held_); }

private:
    void raiseText(Say text) noexcept;
    void raiseFormatted(long number, const char* format, ...) noexcept;

    const char* function_;
    Eerr_ErrorReport** err_;
    Eerr_ErrorReport* held_ = nullptr;
};

/* Prints one warning of `function`, and deletes it. */
template <class... Arguments>
void warn(const char* function, Say text, Arguments... arguments) noexcept
{
    static_assert((std::is_scalar_v<Arguments> && ...), "printf takes numbers and pointers");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    Eerr_ErrorReport* report = eerr_CreateErrorReport(function, text.number, EERR_WARNING, nullptr, text.format,
                                                      arguments...);
#pragma GCC diagnostic pop
    eerr_PrintErrorReport(report, EERR_PRINT_ALL);
    eerr_DeleteErrorReportEx(&report);
}

}  // namespace emantle
