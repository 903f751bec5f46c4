#pragma once

#include <stdexcept>
#include <string>

struct _Eerr_ErrorReportA;

namespace tool {

/* Exit statuses of every verb. */
enum class Exit { success = 0, failure = 1, usage = 2 };

/* What ends a verb with one line on standard error and exit status 1; a verb that has another meaning for that one names
 * its own. */
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    Failure(const std::string& what, Exit status) : std::runtime_error(what), status_(status) {}

    Exit status() const { return status_; }

private:
    Exit status_ = Exit::failure;
};

/* The user's interrupt: what was begun is taken back on the way out. */
class Interrupted : public Failure {
public:
    Interrupted() : Failure("interrupted") {}
};

/* An error argument for calls into the library. `check` throws a Failure with the root cause when a call left a chain;
 * the chain ends with the object. */
class Reports {
public:
    Reports() = default;
    ~Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    operator _Eerr_ErrorReportA**();
    bool failed() const { return chain_ != nullptr; }

    /* The text of the root cause, on one line. */
    std::string rootCause() const;
    void check(const std::string& doing) const;
    void clear();

private:
    _Eerr_ErrorReportA* chain_ = nullptr;
};

/* The result of a call, or a Failure where it left a chain. */
template <class Value>
Value checked(const Reports& reports, Value value, const std::string& doing)
{
    reports.check(doing);
    return value;
}

/* A text on one line: control characters become blanks, and runs of blanks one. */
std::string oneLine(const std::string& text);

}  // namespace tool
