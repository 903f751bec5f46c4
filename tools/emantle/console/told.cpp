#include "console/told.h"

#include "console/failure.h"

#include <emantle/frame/eerr.h>

#include <ostream>
#include <vector>

namespace tool {

namespace {

constexpr std::size_t kMostKept = 100;

std::vector<std::string> kept;
std::size_t dropped = 0;

void keep(void*, Eerr_ErrorReport* report, Eerr_ErrorReportingMode, Eerr_ErrorReport**)
{
    for (; report != nullptr; report = report->next) {
        if (report->message == nullptr || *report->message == '\0') {
            continue;
        }
        if (kept.size() < kMostKept) {
            kept.push_back(oneLine(report->message));
        } else {
            ++dropped;
        }
    }
}

} // namespace

void keepToldLines()
{
    kept.clear();
    dropped = 0;
    eerr_SetAltErrorFunction(keep, nullptr);
}

std::string firstToldLine()
{
    return kept.empty() ? std::string() : kept.front();
}

void printToldLines(std::ostream& out)
{
    for (const std::string& line : kept) {
        out << "emantle: " << line << '\n';
    }
    if (dropped != 0) {
        out << "emantle: and " << dropped << " more of the kind\n";
    }
}

} // namespace tool
