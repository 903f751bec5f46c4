#pragma once

#include "console/told.h"
#include "verbs/verb.h"

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

/* Runs of the tool's verbs in this process, for tests that need very many. */
struct InProcess {
    int status = 0;
    std::string out;
    std::string failure; /* the line of a run that failed */
};

inline InProcess runHere(const std::vector<std::string>& arguments)
{
    InProcess result;
    std::ostringstream out;
    tool::keepToldLines();
    std::streambuf* const usual = std::cout.rdbuf(out.rdbuf());
    tool::Exit status = tool::Exit::success;
    CLI::App program("", "emantle");
    program.require_subcommand(1);
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
    try {
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        result.status = static_cast<int>(status);
    } catch (const CLI::ParseError& error) {
        result.status = 2;
        result.failure = error.what();
    } catch (const tool::Failure& failure) {
        result.status = static_cast<int>(failure.status());
        result.failure = failure.what();
    } catch (const std::exception& failure) {
        result.status = 1;
        result.failure = failure.what();
    }
    std::cout.rdbuf(usual);
    result.out = out.str();
    return result;
}
