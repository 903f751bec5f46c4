#include "console/failure.h"

#include <emantle/frame/eerr.h>

namespace tool {

Reports::~Reports()
{
    clear();
}

Reports::operator _Eerr_ErrorReportA**()
{
    clear();
    return &chain_;
}

std::string Reports::rootCause() const
{
    const Eerr_ErrorReport* cause = chain_;
    for (const Eerr_ErrorReport* record = chain_; record != nullptr; record = record->next) {
        cause = record->message != nullptr || record->next == nullptr ? record : cause;
    }
    if (cause == nullptr) {
        return {};
    }
    if (cause->message != nullptr && *cause->message != '\0') {
        return oneLine(cause->message);
    }
    return std::string(cause->function == nullptr ? "unknown function" : cause->function) + " failed";
}

void Reports::check(const std::string& doing) const
{
    if (chain_ != nullptr) {
        throw Failure(doing + ": " + rootCause());
    }
}

void Reports::clear()
{
    eerr_DeleteErrorReportEx(&chain_);
}

std::string oneLine(const std::string& text)
{
    std::string line;
    for (const char c : text) {
        const bool blank = static_cast<unsigned char>(c) < 0x20 || c == ' ' || c == 0x7f;
        if (!blank) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    if (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

}  // namespace tool
