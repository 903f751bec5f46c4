#pragma once

#include "report/contents.h"

#include <string>

namespace tool {

/* One page of HTML that needs nothing but itself: its pictures and its style are in it, it runs no script and asks nothing
 * of a network. Light or dark as the reader's system is. */
std::string reportPage(const std::string& store, std::uintmax_t storeBytes, const ReportContents& contents);

}  // namespace tool
