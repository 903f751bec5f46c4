#include "console/interrupt.h"
#include "console/told.h"
#include "verbs/verb.h"

#include <iostream>

namespace {

int run(int argc, char** argv)
{
    CLI::App program("Describes rasters, and looks into the stores that keep the results.", "emantle");
    program.set_version_flag("--version", "emantle " EMANTLE_VERSION);
    program.require_subcommand(1);
    tool::Exit status = tool::Exit::success;
    tool::addDescribe(program, status);
    tool::addList(program, status);
    tool::addShow(program, status);
    tool::addCheck(program, status);
    tool::addCat(program, status);
    tool::addCompact(program, status);
    tool::addCopy(program, status);
    tool::addDict(program, status);
    tool::addDiff(program, status);
    tool::addDump(program, status);
    tool::addLoad(program, status);
    tool::addMove(program, status);
    tool::addRemove(program, status);
    tool::addSalvage(program, status);
    tool::addStat(program, status);
    tool::addTable(program, status);
    tool::addHist(program, status);
    tool::addReport(program, status);
    tool::addMerge(program, status);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = program.exit(error, std::cout, std::cerr);
        return code == 0 ? 0 : static_cast<int>(tool::Exit::usage);
    }
    std::cout.flush();
    if (!std::cout) {
        throw tool::Failure("standard output cannot be written");
    }
    return static_cast<int>(status);
}

}  // namespace

int main(int argc, char** argv)
{
    tool::catchInterrupts();
    tool::keepToldLines();
    try {
        const int status = run(argc, argv);
        tool::printToldLines(std::cerr);
        return status;
    } catch (const std::bad_alloc&) {
        std::cerr << "emantle: out of memory\n";
    } catch (const tool::Failure& failure) {
        std::cerr << "emantle: " << tool::oneLine(failure.what()) << '\n';
        return static_cast<int>(failure.status());
    } catch (const std::exception& failure) {
        std::cerr << "emantle: " << tool::oneLine(failure.what()) << '\n';
    }
    return static_cast<int>(tool::Exit::failure);
}
