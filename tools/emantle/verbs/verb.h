#pragma once

#include "console/failure.h"

#include <CLI/CLI.hpp>

namespace tool {

/* What every verb understands. */
struct CommonOptions {
    bool json = false;
    bool quiet = false;
};

void addCommonOptions(CLI::App& verb, CommonOptions& options);

/* Prints one line on standard error, unless `quiet`. */
void remark(const CommonOptions& options, const std::string& line);

/* Each adds its verb to the program; what the verb is to do runs when its arguments have been read, and its exit status
 * goes to `status`. */
void addDescribe(CLI::App& program, Exit& status);
void addList(CLI::App& program, Exit& status);
void addShow(CLI::App& program, Exit& status);
void addCheck(CLI::App& program, Exit& status);
void addCat(CLI::App& program, Exit& status);
void addCompact(CLI::App& program, Exit& status);
void addCopy(CLI::App& program, Exit& status);
void addDict(CLI::App& program, Exit& status);
void addDiff(CLI::App& program, Exit& status);
void addDump(CLI::App& program, Exit& status);
void addLoad(CLI::App& program, Exit& status);
void addMove(CLI::App& program, Exit& status);
void addRemove(CLI::App& program, Exit& status);
void addSalvage(CLI::App& program, Exit& status);
void addStat(CLI::App& program, Exit& status);
void addTable(CLI::App& program, Exit& status);
void addHist(CLI::App& program, Exit& status);
void addReport(CLI::App& program, Exit& status);
void addMerge(CLI::App& program, Exit& status);

}  // namespace tool
