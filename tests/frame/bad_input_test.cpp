#include "support/bad_input.h"

#include <emantle/frame/ebuf.h>
#include <emantle/frame/edlm.h>
#include <emantle/frame/ehsh.h>
#include <emantle/frame/ellm.h>
#include <emantle/frame/elnk.h>
#include <emantle/frame/estr.h>
#include <emantle/frame/etxt.h>

namespace {

BadInput sweep()
{
    return BadInput({"", "a", std::string(65536, 'a'), "\xFF\xFE\x80\xC3(", "$BAD_A${BAD_B", "((:,;[!\\",
                     "//h/..\\*?|\"", "%s%n", "1e9999:-D\r\n<"});
}

#define CALL(function) EMANTLE_CALL_BADLY(all, function)

/* A copy that has the room which the function asks for. */
using Texts = std::vector<char>;
Texts roomFor(const char* text)
{
    return Texts(text == nullptr ? sizeof("^.*$") : 2 * std::strlen(text) + sizeof("^.*$"));
}

} // namespace

TEST(BadInputFrame, Strings)
{
    BadInput all = sweep();
    const Quiet quiet;
    CALL(estr_Duplicate);
    CALL(estr_QuotedDuplicate);
    CALL(estr_QuoteString);
    CALL(estr_AddCR);
    CALL(estr_GetSubString);
    CALL(estr_RemoveChars);
    CALL(estr_Eqic);
    CALL(estr_Eqnic);
    CALL(estr_CompareString);
    CALL(estr_LowerCase);
    CALL(estr_UpperCase);
    CALL(estr_ToUpper);
    CALL(estr_AbbrevCompare);
    CALL(estr_LooseMatch);
    CALL(estr_MatchSequence);
    CALL(estr_SubString);
    CALL(estr_SubStringic);
    CALL(estr_IsCharPresent);
    CALL(estr_GetEnv);
    CALL(estr_CheckEnv);
    CALL(estr_StringToBoolean);
    CALL(estr_StringToL);
    CALL(estr_StringToD);
    CALL(estr_EvaluateString);
    CALL(estr_StringToChar);
    CALL(estr_GetLine);
    CALL(estr_GetQuotedString);
    CALL(estr_ArgsGet);
    CALL(estr_SplitString);
    all.call(
        "estr_StringCopy", +[](const char* s) { return estr_StringCopy(nullptr, s); });
    all.call(
        "estr_StringCat", +[](const char* a, const char* b) { return estr_StringCat(nullptr, a, b); });
    all.call(
        "estr_StringToA",
        +[](const char* s, long start, long length) { return estr_StringToA(s, start, length, nullptr); });
    all.call(
        "estr_Sprintf",
        +[](const char* s, Eerr_ErrorReport** err) { return estr_Sprintf(nullptr, "%s", err, s == nullptr ? "" : s); });
    all.call(
        "estr_StringEnum", +[](const char* s, const char* other, Eerr_ErrorReport** err) {
            return estr_StringEnum(s, err, "b", other, nullptr) > 2;
        });
    all.call(
        "estr_MetaStringToString", +[](const char* s) {
            Texts room = roomFor(s);
            estr_MetaStringToString(room.data(), s);
            return std::strlen(room.data()) < room.size();
        });
    all.call(
        "estr_StringToIntList", +[](const char* s, const char* delimiters, Eerr_ErrorReport** err) {
            std::int32_t* numbers = nullptr;
            const long count = estr_StringToIntList(s, delimiters, &numbers, err);
            emsc_HeapFree(numbers);
            return count;
        });
    /* A capacity below 0 is a rule of its own. */
    all.call(
        "estr_StringNCopy", +[](char* dst, long n, const char* s, long most) {
            return estr_StringNCopy(dst, s, n, most) + estr_StringNCopyWithNull(dst, s, n, most) +
                   estr_StringCopyEx(dst, s, n) + (n > 0 ? estr_StringCatEx(dst, s, n) : 0);
        });
}

TEST(BadInputFrame, NamesAndWildcards)
{
    BadInput all = sweep();
    const Quiet quiet;
    CALL(estr_StringExpand);
    CALL(estr_ConvertPath);
    CALL(estr_PathBegin);
    CALL(estr_GetProtocolPart);
    CALL(estr_GetServerPart);
    CALL(estr_GetLocalFilename);
    CALL(estr_GetPathPart);
    CALL(estr_GetNamePart);
    CALL(estr_GetNamePartSimple);
    CALL(estr_GetRootPart);
    CALL(estr_GetExtPart);
    CALL(estr_GetLayerPart);
    CALL(estr_GetLayerPartSimple);
    CALL(estr_GetNonNodePart);
    CALL(estr_GetBestFitParts);
    CALL(estr_AddRelativeSubPath);
    CALL(estr_AddSubPath);
    CALL(estr_GetCwd);
    CALL(estr_CharCount);
    CALL(estr_IsDir);
    CALL(estr_IsFile);
    CALL(estr_IsWild);
    CALL(estr_WildCompareSensitive);
    all.call(
        "estr_PathExpand", +[](const char* s, char* buffer, long size) { return estr_PathExpand(s, buffer, size); });
    all.call(
        "estr_ConvertPathNT", +[](char* s) { return estr_ConvertPathNT(s); });
    all.call(
        "estr_PathRemoveDuplicateSeparators", +[](char* s) { return estr_PathRemoveDuplicateSeparators(s, nullptr); });
    all.call(
        "estr_CreateREfromWild", +[](const char* s) {
            Texts room = roomFor(s == nullptr ? "1234" : s);
            return std::strlen(estr_CreateREfromWild(s, room.data())) < room.size();
        });
    all.call(
        "estr_WildREDetermine", +[](const char* wild, char* target, long size, int sensitive) {
            Emsc_Boolean isWild = 0;
            const char* reason = nullptr;
            return estr_WildREDetermine(wild, target, size, sensitive, &isWild, &reason) >= -1;
        });
    all.call(
        "estr_GetPathList", +[](const char* s) {
            long count = 0;
            estr_FreePathList(estr_GetPathList(s, &count));
            return count <= 2;
        });
    all.call(
        "estr_XLFormat", +[](const char* s, double number, char* buffer, long size, Eerr_ErrorReport** err) {
            Estr_XLFormat* const format = estr_XLFormatCreate(s, err);
            char* const text = *err != nullptr ? nullptr : estr_XLFormatPrintNumber(format, number, buffer, size, err);
            estr_XLFormatFree(format);
            return text;
        });
}

TEST(BadInputFrame, Lists)
{
    BadInput all = sweep();
    CALL(estr_StringListCreate);
    CALL(estr_StringListAppend);
    CALL(estr_StringListAppendUniq);
    CALL(estr_StringListTruncate);
    CALL(estr_StringListRemoveItem);
    CALL(estr_StringListCopy);
    CALL(estr_StringListQuotedCopy);
    CALL(estr_StringListQuote);
    CALL(estr_StringListCount);
    CALL(estr_StringListSort);
    CALL(estr_StringListSortByNamePart);
    CALL(estr_StringListToString);
    CALL(estr_StringListToDelimString);
    all.call(
        "estr_FindOnStringList", +[](const char* s, Estr_StringList* list, Eerr_ErrorReport** err) {
            return estr_FindOnStringList(s, list, err);
        });
    all.call(
        "estr_StringListA2U", +[](Estr_StringList* list, Eerr_ErrorReport** err) -> Estr_StringList* {
            const Estr_StringListU* const wide = estr_StringListA2U(list, err);
            Estr_StringList* const narrow = estr_StringListU2A(wide, err);
            for (std::int32_t i = 0; wide != nullptr && i < wide->count; ++i) {
                emsc_HeapFree(wide->strings[i]);
            }
            emsc_HeapFree(wide == nullptr ? nullptr : wide->strings);
            emsc_HeapFree(const_cast<Estr_StringListU*>(wide));
            return narrow;
        });
}

TEST(BadInputFrame, Text)
{
    BadInput all = sweep();
    const Quiet quiet;
    CALL(etxt_Text_UBufferSizeForAText);
    CALL(etxt_Text_ABufferSizeForUText);
    CALL(etxt_Text_Unicode2UnixMBS);
    CALL(etxt_Text_UnixMBS2Unicode);
    CALL(estr_DuplicateU);
    CALL(estr_UnicodeStrLen);
    CALL(estr_Unicode2Ascii);
    CALL(estr_Ascii2Unicode);
    CALL(estr_EncodeUnicode);
    CALL(estr_DecodeUnicode);
    CALL(etxt_Text_strlen);
    CALL(etxt_Text_strlenU);
    CALL(etxt_Text__stricmp);
    CALL(etxt_Text__strnicmp);
    CALL(etxt_Text_isalpha);
    CALL(etxt_Text_isprint);
    CALL(etxt_Text_tolower);
    CALL(etxt_Text_toupper);
    all.call(
        "etxt_Text_strcat", +[](char* dst, long size, const char* s) { return etxt_Text_strcat(dst, size, s); });
    all.call(
        "etxt_Text_strncpy", +[](char* dst, long n, const char* s) { return etxt_Text_strncpy(dst, s, n) == dst; });
    all.call(
        "etxt_Text_Unicode2Ascii", +[](char* dst, long size, const Etxt_TextU* s) {
            return etxt_Text_Unicode2Ascii(dst, s, dst == nullptr ? 0 : size);
        });
}

namespace {

/* Indexes and counts that lie outside, against a buffer of 4 elements. */
constexpr long odd[] = {LONG_MIN, INT_MIN, -1, 4, 5, INT_MAX, LONG_MAX};

} // namespace

TEST(BadInputFrame, Containers)
{
    Report report;
    Ebuf_Buffer* const buffer = ebuf_BufferAllocate(4, 2);
    Edlm_List* const list = edlm_InitList(sizeof(long), 2, report);
    const Elnk_List links = elnk_ListAllocate(4, 1);
    const int table = ehsh_TableCreate(8, sizeof(long), report, EHSH_END);
    char bytes[8] = {};
    for (const long wrong : odd) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(ebuf_BufferAddress(buffer, wrong), nullptr);
        EXPECT_EQ(ebuf_BufferCopyOut(buffer, wrong, 1, bytes), 0);
        EXPECT_TRUE(elnk_ListLinkIsFree(links, wrong));
        EXPECT_EQ(elnk_ListLinkFree(links, nullptr, wrong, 1), 0);
        Report places[4];
        EXPECT_EQ(edlm_GetAddr(list, wrong, places[0]), nullptr);
        EXPECT_FALSE(edlm_Delete(list, wrong, places[1]));
        EXPECT_FALSE(edlm_Insert(list, wrong, bytes, places[2]));
        EXPECT_FALSE(edlm_Replace(list, wrong, bytes, places[3]));
        for (const Report& place : places) {
            EXPECT_NE(place.get(), nullptr);
        }
        if (wrong < 0) {
            Ebuf_Buffer* same = buffer;
            EXPECT_EQ(ebuf_BufferCopyIn(&same, wrong, 1, bytes), 0);
            EXPECT_EQ(ebuf_BufferAllocate(wrong, 1), nullptr);
            EXPECT_EQ(ebuf_BufferAllocate(1, wrong), nullptr);
        }
        Report unknown;
        EXPECT_EQ(ehsh_KeyHash(static_cast<int>(wrong == 4 ? 4000 : wrong), "k", nullptr, unknown), nullptr);
        EXPECT_NE(unknown.get(), nullptr);
        int neighbour = 0;
        ellm_Add(&neighbour, wrong, nullptr);
    }
    Report null[6];
    EXPECT_EQ(edlm_Add(nullptr, bytes, null[0]), -1);
    EXPECT_EQ(edlm_Add(list, nullptr, null[1]), -1);
    edlm_SortList(list, nullptr, null[2]);
    EXPECT_EQ(edlm_CopyList(nullptr, null[3]), nullptr);
    EXPECT_EQ(ehsh_KeyHash(table, nullptr, nullptr, null[4]), nullptr);
    EXPECT_EQ(ehsh_KeyUnHash(table, nullptr, null[5]), nullptr);
    for (const Report& each : null) {
        EXPECT_NE(each.get(), nullptr);
    }
    const std::string longest(65536, '\xFF');
    EXPECT_NE(ehsh_KeyHash(table, longest.c_str(), nullptr, report), nullptr);
    EXPECT_NE(ehsh_KeyHash(table, "", nullptr, report), nullptr);
    EXPECT_EQ(ehsh_KeyCount(table, report), 2);
    EXPECT_EQ(report.get(), nullptr);
    ehsh_TableDelete(table, report);
    elnk_ListFree(links);
    elnk_ListFree(0);
    edlm_FreeList(list, report);
    Ebuf_Buffer* last = buffer;
    ebuf_BufferFree(&last);
    ebuf_BufferFree(&last);
}
