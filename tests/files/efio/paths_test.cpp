#include "files/scratch.h"
#include "platform/errors.h"
#include "platform/faults.h"
#include "support/chain.h"

#include <cerrno>
#include <cstring>
#include <emantle/files/efio.h>
#include <emantle/frame/estr/list.h>
#include <functional>
#include <thread>

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

namespace {

class Paths : public Scratch {
protected:
    Report report;
};

/* Runs `action` in a thread of its own, which has no temporary directory yet. */
void inFreshThread(const std::function<void()>& action)
{
    std::thread(action).join();
}

std::vector<std::string> questions;
int retries;

char* answer(long, Eerr_ErrorReport** err, const char* text, const Estr_StringList* options)
{
    *err = nullptr;
    questions.emplace_back(text);
    const char* const chosen = retries-- > 0 ? options->strings[0] : options->strings[1];
    return strcpy(static_cast<char*>(emsc_HeapMalloc(static_cast<long>(strlen(chosen)) + 1)), chosen);
}

}  // namespace

TEST_F(Paths, WhatStandsBehindAName)
{
    put("file", "12345");
    const std::string file = path("file"), none = path("none"), below = path("file/x");
    EXPECT_TRUE(efio_FileExists(file.c_str(), report));
    EXPECT_FALSE(efio_FileExists(path().c_str(), report));
    EXPECT_FALSE(efio_FileExists(below.c_str(), report));
    EXPECT_EQ(efio_FileNameExistAsFileOrDir(file.c_str(), report), 2);
    EXPECT_EQ(efio_FileNameExistAsFileOrDir(path().c_str(), report), 1);
    EXPECT_EQ(efio_FileNameExistAsFileOrDir(none.c_str(), report), 0);
    EXPECT_EQ(report.get(), nullptr);
    EXPECT_EQ(efio_FileSizeGet(file.c_str(), report), 5);
    EXPECT_TRUE(efio_FileSystemIsLocal(path("not/yet/there").c_str(), report));
    Report missing, denied, null;
    EXPECT_EQ(efio_FileSizeGet(none.c_str(), missing), -1);
    EXPECT_NE(missing.get(), nullptr);
    {
        const FaultInjection refuse(Operation::status, 1, Outcome{13});
        EXPECT_FALSE(efio_FileExists(file.c_str(), denied));
        EXPECT_NE(denied.get(), nullptr); // not known is not "no"
    }
    EXPECT_FALSE(efio_FileExists(nullptr, null));
    EXPECT_NE(null.get(), nullptr);
}

TEST_F(Paths, DeletingAsksTheHostAsLongAsItWantsAnotherTry)
{
    put("file", "");
    const std::string file = path("file");
    Report plain, cancelled, retried;
    {
        const FaultInjection busy(Operation::unlink, 1, Outcome{16}, Repeat::fromThenOn);
        EXPECT_EQ(efio_FileUnlink(file.c_str(), plain), -1);
        EXPECT_EQ(errno, 16);
        EXPECT_EQ(plain.records()[0].message,
                  "Unable to delete the file " + file + "\n" + emantle::platform::systemErrorText(16));
        efio_SetQueryFunction(answer);
        retries = 2;
        EXPECT_EQ(efio_FileUnlink(file.c_str(), cancelled), -1);
        EXPECT_EQ(questions.size(), 3U);
    }
    const FaultInjection denied(Operation::unlink, 1, Outcome{13});
    retries = 1;
    EXPECT_EQ(efio_FileUnlink(file.c_str(), retried), 0);
    efio_SetQueryFunction(nullptr);
    EXPECT_FALSE(std::filesystem::exists(file));
    ASSERT_EQ(questions.size(), 4U);
    EXPECT_EQ(questions[0], "The file " + file +
                                " cannot be deleted\nbecause it is in use by another application.\n\nClose the "
                                "file and then press 'Retry' to continue,\nor press 'Cancel'.");
    EXPECT_EQ(questions[3], "The file " + file +
                                " cannot be deleted\nbecause the read-only attribute is set.\n\nChange the "
                                "access permissions and then press 'Retry' to continue,\nor press 'Cancel'.");
}

TEST_F(Paths, RenamingReplacesAndAFailureKeepsBoth)
{
    put("a", "A");
    put("b", "B");
    {
        const FaultInjection full(Operation::rename, 1, Outcome::noSpace());
        Report failed;
        EXPECT_EQ(efio_FileNameChange(path("a").c_str(), path("b").c_str(), failed), -1);
        EXPECT_EQ(errno, 28);
    }
    EXPECT_EQ(contents("a") + contents("b"), "AB");
    EXPECT_EQ(efio_FileNameChange(path("a").c_str(), path("b").c_str(), report), 0);
    EXPECT_EQ(contents("b"), "A");
    EXPECT_FALSE(std::filesystem::exists(path("a")));
}

TEST_F(Paths, TemporaryNamesCountThroughTheirRun)
{
    const std::string start = path("t");
    std::string digits = std::to_string(getpid());
    digits = std::string(2 - std::min<std::size_t>(2, digits.size()), '0') +
             digits.substr(digits.size() - std::min<std::size_t>(2, digits.size()));
    const auto make = [&](Report& err) {
        std::string name = start + "xX";
        return efio_MakeTemp(name.data(), err) == nullptr ? std::string() : name.substr(start.size());
    };
    EXPECT_EQ(make(report), digits);
    std::vector<std::string> names;
    for (std::string name = make(report); !name.empty() && names.size() < 2000; name = make(report)) {
        put("t" + name, "");
        names.push_back(name);
    }
    // The first place counts from the digit through 26 letters, and so does the second.
    ASSERT_EQ(names.size(), 27U * 26 + 1);
    EXPECT_EQ(names[1], "a" + digits.substr(1));
    EXPECT_EQ(names[26], "z" + digits.substr(1));
    EXPECT_EQ(names[27], "aa");
    EXPECT_EQ(names.back(), "zz");
    EXPECT_EQ(report.get(), nullptr); // a run that is used up is an answer
    Report nowhere;
    std::string name = path("no/such/XXXXXX");
    EXPECT_EQ(efio_MakeTemp(name.data(), nowhere), nullptr);
    EXPECT_EQ(nowhere.records()[0].message, path("no/such") + ": no such directory");
}

TEST_F(Paths, EachThreadHasItsTemporaryDirectory)
{
    setenv("ORVIK_TMPDIR", path().c_str(), 1);
    std::filesystem::create_directory(path("own"));
    inFreshThread([&] {
        EXPECT_EQ(taken(efio_TempName(nullptr, nullptr, report)).rfind(path("tmp."), 0), 0U);
        EXPECT_EQ(efio_DirectorySetTemporary((path() + "\\own").c_str(), report), 0);
        Report refused;
        EXPECT_EQ(efio_DirectorySetTemporary(path("none").c_str(), refused), -1);
        EXPECT_EQ(refused.records()[0].message, path("none") + ": no such directory");
        EXPECT_EQ(taken(efio_DirectoryGetTemporary(report)), path("own"));
        EXPECT_EQ(taken(efio_TempNameInTmpdir("p", report)).rfind(path("own/p"), 0), 0U);
        EXPECT_NE(taken(efio_TempNameFromTime(nullptr, "p", report)),
                  taken(efio_TempNameFromTime(nullptr, "p", report)));
    });
    inFreshThread([&] { EXPECT_EQ(taken(efio_DirectoryGetTemporary(report)), path()); });
    setenv("ORVIK_TMPDIR", path("none").c_str(), 1);
    inFreshThread([&] {
        Report wrong;
        EXPECT_EQ(efio_TempName(nullptr, nullptr, wrong), nullptr);
        EXPECT_EQ(wrong.records()[0].message, path("none") + ": no such directory");
    });
    unsetenv("ORVIK_TMPDIR");
}
