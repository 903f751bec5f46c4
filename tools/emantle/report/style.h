#pragma once

namespace tool {

/* The style of the page: the colours once for light and once for dark, wide tables that scroll by themselves, figures side
 * by side where there is room. */
extern const char* const kPageStyle;

}  // namespace tool
