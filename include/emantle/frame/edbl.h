#ifndef EMANTLE_FRAME_EDBL_H
#define EMANTLE_FRAME_EDBL_H

#include <emantle/frame/export.h>

#ifdef __cplusplus

/* Numbers out of text, whatever the locale. */

namespace edbl {

/* The number that the whole text is. The spellings of infinities and of NaN that the library writes read back, in any
 * letter case. Throws EerrException for anything that is no number, for one out of range, and for null. */
EMANTLE_CLASS double StringToDouble(const char* s);

/* The same; false, with `out` as it was, for what is no number. */
EMANTLE_CLASS bool TryStringToDouble(double& out, const char* s) noexcept;

}  // namespace edbl

/* Reads one number as sscanf does with "%lf", after every character of `separators` (which may be null) was replaced in
 * `text` by the decimal point of the current locale. Returns 1, 0, or -1 for an empty or null text. */
EMANTLE_CLASS int localeIndependentDoubleScan(char* text, const char* separators, double* out);

#endif
#endif
