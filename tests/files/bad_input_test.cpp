#include "files/scratch.h"
#include "support/bad_input.h"

#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>

namespace {

/* Names that stay below the working directory, a scratch one. */
class BadInputFiles : public Scratch {
protected:
    BadInputFiles() { std::filesystem::current_path(path()); }
    ~BadInputFiles() override { std::filesystem::current_path(before_); }

    BadInput all{{"", "a", std::string(65536, 'a'), "\xFF\xFE\x80\xC3(", "$BAD_A${BAD_B", "((:,;[!\\", "h/..\\*?|\"",
                  "%s%n", "a(:b,", ":a:\\"}};
    const Quiet quiet_;

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};

#define CALL(function) EMANTLE_CALL_BADLY(all, function)

} // namespace

TEST_F(BadInputFiles, Grammar)
{
    CALL(efnp_FileNameGet);
    CALL(efnp_FileNameSet);
    CALL(efnp_FileNameLength);
    CALL(efnp_FileNameLengthX);
    CALL(efnp_FileNameGetBasePart);
    CALL(efnp_FileNameGetExtPart);
    CALL(efnp_FileNameGetNamePart);
    CALL(efnp_FileNameGetPathPart);
    CALL(efnp_FileNameGetDrivePart);
    CALL(efnp_FileNameAddName);
    CALL(efnp_FileNameHasValidCharacters);
    CALL(efnp_FileNameContainsValidCharacters);
    CALL(efnp_MakeValidFileName);
    CALL(efnp_FileNameExternalToInternal);
    CALL(efnp_FileNameInternalToExternal);
    CALL(efnp_FileNameEvaluateEnv);
    CALL(efnp_FileNameNormalize);
    CALL(efnp_FileNameCompare);
    CALL(efnp_FileNodeListGet);
    CALL(efnp_FileNodeListSet);
    CALL(efnp_FileNodeListLength);
    CALL(efnp_FileNodeListGetNonNodePart);
    CALL(efnp_FileNodeCreate);
    CALL(efnp_FileNameListAppendUniq);
    CALL(efnp_FindOnFileNameList);
    CALL(efnp_NodePathGet);
    CALL(efnp_NodePathSet);
    CALL(efnp_NodePathLength);
    CALL(efnp_NodePathPath);
    CALL(efnp_PathJoin);
    all.call(
        "efnp_FileNodeParse", +[](const char* s, Eerr_ErrorReport** err) {
            efnp_FreeNodeList(efnp_FileNodeParseEx(s, err));
            eerr_DeleteErrorReportEx(err);
            efnp_FreeNodeList(efnp_FileNodeListParse(s, err));
        });
    all.call(
        "efnp_NodeNameParse",
        +[](const char* s, Eerr_ErrorReport** err) { efnp_FreeNodeName(efnp_NodeNameParse(s, err)); });
}

TEST_F(BadInputFiles, Directories)
{
    CALL(efio_DirectorySetTemporary);
    CALL(efio_ChangeDir);
    CALL(efio_CurrentDirName);
    CALL(efio_FileNameVerify);
    CALL(efio_FileNameVerifySetBaseFileName);
    CALL(efio_FileNameIsPortable);
    CALL(efio_MakeDir);
    CALL(efio_MaybeMakeDir);
    CALL(efio_DirectoryIsWritable);
    CALL(efio_FileCopy);
    CALL(efio_FileAppend);
    CALL(efio_DirectoryCopy);
    CALL(efio_UpDir);
    CALL(efio_FileNameEq);
    CALL(efio_PathNameIsRelative);
    CALL(efio_FileNameExistsAsLogicalDrive);
    CALL(efio_IsDriveRemovable);
    CALL(efio_FileExists);
    CALL(efio_FileNameExistAsFileOrDir);
    CALL(efio_FileSizeGet);
    CALL(efio_FileSystemIsLocal);
    CALL(efio_Access);
    CALL(efio_Chmod);
    CALL(efio_IsFileReadOnly);
    CALL(efio_SetModTime);
    CALL(efio_IsFileAscii);
    CALL(efio_AddAllUserPermissions);
    CALL(efio_GetFileVersionInfoField);
    CALL(efio_BlocksAvailable);
    CALL(efio_CheckBytesAvailable);
    CALL(efio_FindFilesInPath);
    CALL(efio_TempName);
    CALL(efio_TempNameFromTime);
    CALL(efio_MakeTemp);
    CALL(efio_FileNameChange);
    CALL(efio_FileUnlink);
    CALL(efio_DirectoryRemove);
    CALL(efio_DirectoryRemoveRecursive);
    CALL(efio_CompatibleRemove);
    CALL(efio_Fchmod);
    CALL(efio_Frename);
    all.call(
        "efio_DirectoryScanRecursive", +[](const char* name, Eerr_ErrorReport** err) {
            Estr_StringList* found = nullptr;
            const long status = efio_DirectoryScanRecursive(name, &found, err);
            estr_StringListDelete(found, nullptr);
            return status;
        });
    all.call(
        "efio_SearchLists", +[](const char* text, const char* name, Eerr_ErrorReport** err) {
            Efio_SearchList* list = efio_CreateSLFromString(nullptr, text, nullptr);
            list = efio_CreateSLFromEnv(list, name, text, nullptr);
            list = efio_AppendDirectoryToSL(list, name, nullptr);
            char* const found = efio_Which(list, name, err);
            efio_FreeSL(list);
            return found;
        });
    all.call(
        "efio_StatCache", +[](const char* name, long option, Eerr_ErrorReport** err) -> long {
            Efio_StatCache* cache = nullptr;
            std::int64_t value[16] = {};
            long status = efio_StatCacheCreate(name, &cache, err);
            if (status == 0) {
                status = efio_StatCacheGet(cache, option, value, err);
            }
            efio_StatCacheFree(cache);
            return status;
        });
}

TEST_F(BadInputFiles, Handles)
{
    all.call(
        "efio_Open", +[](const char* name, const char* mode, Eerr_ErrorReport** err) {
            efio_Close(efio_Open(name, mode, err), nullptr);
        });
    put("f", "some bytes\n");
    struct Case {
        const char* name;
        long (*call)(Efio_File*, long, long, char*, Eerr_ErrorReport**);
    };
    const Case cases[] = {
        {"seek", [](Efio_File* f, long a, long b, char*, Eerr_ErrorReport** err) { return efio_Seek(f, a, b, err); }},
        {"read", [](Efio_File* f, long, long b, char* to,
                    Eerr_ErrorReport** err) { return efio_ReadSeq(f, to, std::min(b, 8L), err); }},
        {"read at", [](Efio_File* f, long a, long b, char* to,
                       Eerr_ErrorReport** err) { return efio_ReadDirect(f, a, to, std::min(b, 8L), err); }},
        {"write at",
         [](Efio_File* f, long a, long b, char* from, Eerr_ErrorReport** err) {
             return efio_WriteDirect(f, a < 100 ? a : LONG_MAX, from, std::min(b, 8L), err);
         }},
        {"write",
         [](Efio_File* f, long, long b, char*, Eerr_ErrorReport** err) { return efio_WriteSeq(f, nullptr, b, err); }},
        {"line",
         [](Efio_File* f, long, long b, char* to, Eerr_ErrorReport** err) {
             return static_cast<long>(efio_Fgets(to, std::min(b, 8L), f, err) != nullptr);
         }},
        {"unget", [](Efio_File* f, long a, long, char*, Eerr_ErrorReport** err) { return efio_Ungetc(a, f, err); }},
        {"truncate", [](Efio_File* f, long a, long, char*,
                        Eerr_ErrorReport**) { return static_cast<long>(efio_ftruncate(f, a < 100 ? a : LONG_MIN)); }},
        {"map",
         [](Efio_File* f, long a, long b, char*, Eerr_ErrorReport** err) {
             void* const at = efio_Mmap(f, a, b, err);
             return at == nullptr ? -1 : efio_Munmap(at, nullptr);
         }},
        {"move", [](Efio_File* f, long a, long b, char*,
                    Eerr_ErrorReport**) { return static_cast<long>(efio_fseeko(f, a, static_cast<int>(b))); }},
    };
    constexpr long numbers[] = {LONG_MIN, INT_MIN, -1, 0, 1, 11, 12, INT_MAX, LONG_MAX};
    Report report;
    Efio_File* const file = efio_Open("f", "r+b", report);
    ASSERT_NE(file, nullptr);
    for (const Case& each : cases) {
        for (Efio_File* const given : {file, static_cast<Efio_File*>(nullptr)}) {
            for (const long a : numbers) {
                for (const long b : numbers) {
                    SCOPED_TRACE(each.name + (" " + std::to_string(a)) + " " + std::to_string(b));
                    const std::unique_ptr<char[]> bytes(new char[8]());
                    Report failed;
                    const long result = each.call(given, a, b, bytes.get(), failed);
                    EXPECT_TRUE(failed.get() == nullptr || result <= 0);
                    EXPECT_GE(efio_Tell(file, report), 0);
                }
            }
        }
    }
    EXPECT_LE(efio_FileSizeGetByHandle(file, report), 200);
    efio_Close(file, report);
    EXPECT_EQ(report.get(), nullptr);
    efio_Close(nullptr, report);
    Efio_FdSet none = {};
    for (const double seconds : {std::nan(""), -0.0, 0.001}) {
        EXPECT_EQ(efio_Select(INT_MAX, &none, nullptr, nullptr, seconds), 0);
    }
}
