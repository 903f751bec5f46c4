#include "files/scratch.h"
#include "platform/faults.h"
#include "support/chain.h"

#include <cstring>
#include <emantle/files/efio.h>

namespace {

class Search : public Scratch {
protected:
    Search()
    {
        for (const char* name : {"one", "two", "two/sub", "one/dir"}) {
            std::filesystem::create_directory(path(name));
        }
        put("one/a.img", "");
        put("two/a.img", "");
        put("two/b.IMG", "");
        put("two/sub/c.img", "");
        setenv("SEARCH_TEST", (path("one") + ";;" + path("two") + "//").c_str(), 1);
        unsetenv("SEARCH_UNSET");
    }
    ~Search() override { efio_FreeSL(list); }

    std::vector<std::string> entries() const
    {
        std::vector<std::string> all;
        for (const Efio_SearchList* entry = list; entry != nullptr; entry = entry->next) {
            all.emplace_back(entry->directory);
        }
        return all;
    }
    std::vector<std::string> names(Estr_StringList* from) const
    {
        const EstrStringList owner(from);
        std::vector<std::string> all;
        for (long i = 0; i < estr_StringListCount(from); ++i) {
            all.push_back(std::filesystem::relative(from->strings[i], path()));
        }
        return all;
    }

    Report report;
    Efio_SearchList* list = nullptr;
};

using Names = std::vector<std::string>;

}  // namespace

TEST_F(Search, ListsKeepOrderAndDropNothing)
{
    list = efio_CreateSLFromEnv(nullptr, "SEARCH_TEST", "unused", report);
    EXPECT_EQ(entries(), (Names{path("one"), path("two") + "/"}));
    list = efio_CreateSLFromEnv(list, "SEARCH_UNSET", "x\\y;;z", report);
    list = efio_CreateSLFromEnv(list, "SEARCH_UNSET", nullptr, report);
    EXPECT_EQ(efio_SLGetCount(list), 4);
    Efio_SearchList* copy = efio_CreateSLFromSL(nullptr, list, report);
    list = efio_SLRemovePath(list, path("one").c_str(), report);
    list = efio_SLRemovePath(list, "none", report);
    list = efio_AppendDirectoryToSL(list, "sub", report);
    EXPECT_EQ(entries(), (Names{path("two") + "//sub", "x/y/sub", "z/sub"}));
    EXPECT_EQ(efio_SLGetCount(copy), 4);
    setenv("SEARCH_LOOP", "$SEARCH_LOOP", 1);
    Report loop;
    EXPECT_EQ(efio_CreateSLFromString(copy, "fine;$SEARCH_LOOP", loop), copy);
    EXPECT_NE(loop.get(), nullptr);
    EXPECT_EQ(efio_SLGetCount(copy), 4);
    efio_FreeSL(copy);
}

TEST_F(Search, LocalizedListsLookIntoTheLanguageFirst)
{
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    list = efio_CreateLocalizedSLFromString("/d", report);
    EXPECT_EQ(entries(), (Names{"/d/de_DE", "/d/de", "/d"}));
    efio_FreeSL(list);
    setenv("LC_ALL", "../../etc", 1);
    list = efio_CreateLocalizedSLFromString("/d", report);
    EXPECT_EQ(entries(), Names{"/d"});
    unsetenv("LC_ALL");
}

TEST_F(Search, WhichTakesTheFirstAndRefusesAbsoluteDirectories)
{
    list = efio_CreateSLFromEnv(nullptr, "SEARCH_TEST", nullptr, report);
    EXPECT_EQ(taken(efio_Which(list, "a.img", report)), path("one/a.img"));
    EXPECT_EQ(taken(efio_Which(list, "sub", report)), path("two/sub"));
    EXPECT_EQ(taken(efio_Which(list, path("two/a.img").c_str(), report)), path("two/a.img"));
    for (const std::string& none : {path("two"), std::string("C:/x"), std::string("none"), std::string()}) {
        EXPECT_EQ(efio_Which(list, none.c_str(), report), nullptr) << none;
    }
    EXPECT_EQ(efio_Which(list, nullptr, report), nullptr);
    EXPECT_EQ(taken(efio_WhichRelative(list, "sub/c.img", report)), path("two") + "//sub/c.img");
    EXPECT_EQ(efio_WhichRelative(list, path("two/a.img").c_str(), report), nullptr);
    EXPECT_EQ(report.get(), nullptr);
    {
        using namespace emantle::platform;
        const FaultInjection denied(Operation::status, 1, Outcome{13});
        Report failed;
        EXPECT_EQ(efio_Which(list, "b.IMG", failed), nullptr); // the walk ends there
        EXPECT_EQ(failed.records()[0].message, "efio_FileNameExistAsFileOrDir failed");
    }
    Efio_File* file = efio_SearchListOpen(list, "b.IMG", "r", report);
    EXPECT_NE(file, nullptr);
    efio_Close(file, report);
    Report missing;
    EXPECT_EQ(efio_SearchListOpen(list, "none", "r", missing), nullptr);
    EXPECT_EQ(missing.records()[0].message, "Error locating none\n");
}

TEST_F(Search, MatchesOverAllEntriesAppearOnce)
{
    list = efio_CreateSLFromString(
        nullptr, (path("two") + ";" + path("none") + ";" + path("one") + ";" + path("two")).c_str(), report);
    Estr_StringList* found = nullptr;
    EXPECT_EQ(efio_SearchListIdentifyFiles(list, "*.img", &found, report), 0);
    EXPECT_EQ(names(found), (Names{"two/a.img", "two/b.IMG", "one/a.img"}));
    found = nullptr;
    EXPECT_EQ(efio_SearchListGenerateAndIdentifyFiles("SEARCH_TEST", "b*", &found, report), 0);
    EXPECT_EQ(names(found).size(), 1U);
    EstrStringList localized;
    EXPECT_EQ(efio_SearchListLocalizedGenerateAndIdentifyFiles("SEARCH_TEST", "a*", localized), 0);
    EXPECT_EQ(estr_StringListCount(localized), 2);
    found = nullptr;
    EXPECT_EQ(efio_DirectoryScanRecursive((path() + "/*.img").c_str(), &found, report), 0);
    EXPECT_EQ(names(found), (Names{"one/a.img", "two/a.img", "two/b.IMG", "two/sub/c.img"}));
}

TEST_F(Search, ADirectoryThatCannotBeReadFailsWithItsCauseAndLeavesTheResultAlone)
{
    using namespace emantle::platform;
    EstrStringList found(estr_StringListAppend(nullptr, "kept", report));
    Estr_StringList* result = found;
    const std::string all = path() + "/*.img", cause = "Cannot read directory ";
    for (const std::string& name : {std::string(), std::string("two/sub")}) {
        const FaultInjection denied(Operation::list, 1, Outcome{13}, Repeat::once, path(name));
        Report failed;
        Estr_StringList* partly = nullptr;
        EXPECT_EQ(efio_DirectoryScanRecursive(all.c_str(), &partly, failed), -1);
        estr_StringListDelete(partly, nullptr);
        const auto records = failed.records();
        ASSERT_EQ(records.size(), name.empty() ? 2U : 3U);
        if (!name.empty()) {
            EXPECT_EQ(records[0].message, "Error searching subfolders of <" + path(name) + ">");
        }
        EXPECT_EQ(records[records.size() - 2], (Record{"efio_DirectoryScanRecursive", "efio_NextFilename failed"}));
        EXPECT_EQ(records.back().function, "efio_NextFilename");
        EXPECT_EQ(records.back().message->rfind(cause + path(name), 0), 0U);
    }
    list = efio_CreateSLFromEnv(nullptr, "SEARCH_TEST", nullptr, report);
    const FaultInjection denied(Operation::list, 1, Outcome{13}, Repeat::once, path("two"));
    Report failed;
    EXPECT_EQ(efio_SearchListIdentifyFiles(list, "*.img", &result, failed), -1);
    EXPECT_EQ(estr_StringListCount(result), 1);
    EXPECT_EQ(report.get(), nullptr);
}

TEST_F(Search, IterationMeetsEachEntryAndEndsEarly)
{
    Efio_Find* find = nullptr;
    char name[EFIO_NAME_SIZE];
    Names met;
    while (efio_NextFilename(path("two/ignored").c_str(), name, &find, report) != nullptr) {
        met.emplace_back(name);
    }
    EXPECT_EQ(met, (Names{"a.img", "b.IMG", "sub"}));
    EXPECT_EQ(find, nullptr);
    EXPECT_EQ(report.get(), nullptr);
    ASSERT_NE(efio_NextFilename(path("two/").c_str(), name, &find, report), nullptr);
    efio_FindFree(find);
    find = nullptr;
    Report missing;
    EXPECT_EQ(efio_NextFilename(path("none/x").c_str(), name, &find, missing), nullptr);
    EXPECT_NE(missing.get(), nullptr);
}

TEST_F(Search, MissingNamesAreLookedForThenAskedAbout)
{
    static std::string reply;
    EXPECT_EQ(efio_FileNameVerifyAddDefaultPath(path("two").c_str(), report), 0);
    EXPECT_EQ(efio_FileNameVerifySetBaseFileName(path("one/base.img").c_str(), report), 0);
    EXPECT_EQ(taken(efio_FileNameVerify("/gone/a.img", report)), path("one/a.img"));
    EXPECT_EQ(taken(efio_FileNameVerify("/gone/b.IMG", report)), path("two/b.IMG"));
    Report alone;
    EXPECT_EQ(efio_FileNameVerify("/gone/z", alone), nullptr);
    EXPECT_EQ(alone.records()[0].message, "No replacement specified for /gone/z");

    efio_SetQueryFunction([](long, Eerr_ErrorReport**, const char*, const Estr_StringList*) -> char* {
        return reply.empty()
                   ? nullptr
                   : strcpy(static_cast<char*>(emsc_HeapMalloc(static_cast<long>(reply.size()) + 1)), reply.c_str());
    });
    EXPECT_EQ(taken(efio_FileNameVerify("/gone/z", report)), "FILE_SKIPPED_AT_USER_REQUEST");
    reply = path("two/sub/c.img");
    char* name = strcpy(static_cast<char*>(emsc_HeapMalloc(8)), "/gone/z");
    EXPECT_EQ(efio_FileNameCorrect(&name, report), 0);
    EXPECT_EQ(taken(name), reply);
    efio_SetQueryFunction(nullptr);
    EXPECT_TRUE(efio_FileNameIsPortable("a-B_0.img"));
    EXPECT_FALSE(efio_FileNameIsPortable("a b") || efio_FileNameIsPortable("") || efio_FileNameIsPortable("\xc3\xa9"));
}

TEST_F(Search, AWatchTellsOfEachKindOfChangeOnce)
{
    efio::MonitorDirectory watch(path("one").c_str());
    EXPECT_FALSE(watch.CheckForChanges());
    put("one/new", "");
    EXPECT_TRUE(watch.CheckForChanges());
    EXPECT_FALSE(watch.CheckForChanges());
    put("one/new", "bytes");
    EXPECT_TRUE(watch.CheckForChanges());
    std::filesystem::permissions(path("one/new"), std::filesystem::perms::owner_read);
    EXPECT_TRUE(watch.CheckForChanges());
    std::filesystem::remove(path("one/new"));
    EXPECT_TRUE(watch.CheckForChanges());
    put("two/elsewhere", "");
    EXPECT_FALSE(watch.CheckForChanges());
    EXPECT_THROW(efio::MonitorDirectory(path("none").c_str()), EerrException);
}
