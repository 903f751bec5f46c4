#include "frame/ebuf/byte_buffer.h"
#include "frame/memory/heap_ptr.h"
#include "support/starvation.h"

#include <cstring>
#include <emantle/frame/edlm.h>
#include <emantle/frame/ehsh.h>
#include <emantle/frame/eint.h>
#include <emantle/frame/elnk.h>
#include <emantle/frame/emsc.h>
#include <emantle/frame/estr.h>
#include <emantle/frame/etxt.h>
#include <gtest/gtest.h>

using emantle::HeapPtr;
using emantle::Owned;

/* Every family but ellm, which allocates nothing. A text made has more than the 15 bytes that a string keeps in itself.
 */

namespace {

using Err = Eerr_ErrorReport**;
using Wide = HeapPtr<Etxt_TextU>;

struct DeleteList {
    void operator()(Estr_StringList* list) const noexcept { estr_StringListDelete(list, nullptr); }
};
using List = std::unique_ptr<Estr_StringList, DeleteList>;

constexpr char text[] = "a text of more than fifteen bytes";

using ::endingOf;

Ending endingOf(Estr_StringList* made, std::initializer_list<std::string_view> expected)
{
    const List list(made);
    return made == nullptr                                                                            ? Ending::failed
           : std::equal(made->strings, made->strings + made->count, expected.begin(), expected.end()) ? Ending::right
                                                                                                      : Ending::wrong;
}

Ending append(Err err)
{
    List list;
    for (int i = 0; i < 20; ++i) {
        Estr_StringList* grown = estr_StringListAppend(list.get(), text, err);
        static_cast<void>(list.release());
        list.reset(grown);
        if (grown == nullptr || grown->count != i + 1) {
            return estr_StringListCount(grown) == i ? Ending::failed : Ending::wrong;
        }
    }
    return Ending::right;
}

/* A table that failed to take a key must be as it was. */
Ending hashKeys(Err err)
{
    const int id = ehsh_TableCreate(20, sizeof(int), err, EHSH_FIFO, 1, EHSH_END);
    int keys = 0;
    for (bool taken = id != 0; taken && keys < 100;) {
        const char key[] = {static_cast<char>('0' + keys / 10), static_cast<char>('0' + keys % 10), '\0'};
        taken = ehsh_KeyHash(id, key, &keys, err) != nullptr;
        keys += taken ? 1 : 0;
    }
    const bool right = id == 0 || ehsh_KeyCount(id, nullptr) == keys;
    if (id != 0) {
        ehsh_TableDelete(id, nullptr);
    }
    return !right ? Ending::wrong : keys == 100 ? Ending::right : Ending::failed;
}

Ending listKeys(Err err)
{
    static const int id = [] {
        const int made = ehsh_TableCreate(20, 0, nullptr, EHSH_END);
        ehsh_KeyHash(made, text, nullptr, nullptr);
        return made;
    }();
    return endingOf(ehsh_KeyList(id, err), {text});
}

int compareInts(const void* a, const void* b)
{
    return *static_cast<const int*>(a) - *static_cast<const int*>(b);
}

Ending records(Err err)
{
    const Owned<Edlm_List, [](Edlm_List* list) { edlm_FreeList(list, nullptr); }> list(
        edlm_InitList(sizeof(int), 4, err));
    if (list == nullptr) {
        return Ending::failed;
    }
    int count = 0;
    for (; count < 150; ++count) {
        const int object = 1000 - count;
        if (edlm_Add(list.get(), &object, err) != count) {
            return list->count == count ? Ending::failed : Ending::wrong;
        }
    }
    edlm_SortList(list.get(), compareInts, err);
    if (*err != nullptr) {
        return Ending::failed;
    }
    const int first = 0;
    if (!edlm_Insert(list.get(), 0, &first, err)) {
        return list->count == count ? Ending::failed : Ending::wrong;
    }
    Edlm_List* copy = edlm_CopyList(list.get(), err);
    const bool right = copy != nullptr && copy->count == count + 1;
    edlm_FreeList(copy, nullptr);
    if (copy == nullptr || edlm_Consolidate(list.get(), err) == nullptr) {
        return Ending::failed;
    }
    return right ? Ending::right : Ending::wrong;
}

Ending links()
{
    const Elnk_List list = elnk_ListAllocate(2, 1);
    Ebuf_Buffer* pairs = elnk_LinkAllocate(3);
    long count = 0;
    while (list != 0 && count < 9 && elnk_ListLinkAppend(list, nullptr) == count) {
        ++count;
    }
    const bool right = count == 0 || elnk_ListTail(list, nullptr) == count - 1;
    const bool made = pairs != nullptr && count == 9;
    ebuf_BufferFree(&pairs);
    elnk_ListFree(list);
    return !right ? Ending::wrong : made ? Ending::right : Ending::failed;
}

Ending elements()
{
    Ebuf_Buffer* buffer = ebuf_BufferAllocate(2, sizeof(long));
    long written = 0;
    for (long i = 0; buffer != nullptr && i < 100; ++i) {
        written += ebuf_BufferCopyIn(&buffer, i, 1, &i);
    }
    const bool kept = buffer == nullptr || written == 0 || *static_cast<long*>(ebuf_BufferAddress(buffer, 1)) == 1;
    ebuf_BufferFree(&buffer);
    return !kept ? Ending::wrong : written == 100 ? Ending::right : Ending::failed;
}

Ending bytes()
{
    emantle::ByteBuffer buffer = emantle::NewBuffer(4, 0);
    const bool written = emantle::CopyToBuffer(text, buffer, sizeof text) == sizeof text;
    const bool right = written && std::memcmp(buffer.start, text, sizeof text) == 0;
    emantle::FreeBuffer(buffer);
    return doneIf(written, right);
}

Ending copyHolder()
{
    char* source = estr_Duplicate(text);
    if (source == nullptr) {
        return Ending::failed;
    }
    const EtxtTextA holder(source);
    try {
        const EtxtTextA copy(holder);
        return std::strcmp(copy, text) == 0 ? Ending::right : Ending::wrong;
    } catch (EerrException& failure) {
        failure.Clear();
        return Ending::failed;
    }
}

Ending expandedPath(const char* path, std::string_view expected)
{
    return endingOf(estr_PathExpand(path, nullptr, 0), expected);
}

Ending reportIsMadeOfNothing(Err err)
{
    const char* const slice = estr_GetSubString(nullptr, 0, 1, err);
    return slice == nullptr && *err != nullptr ? Ending::right : Ending::wrong;
}

} // namespace

TEST(Allocation, HeapErrorsAndText)
{
    static Etxt_TextU wide[] = u"wide text of more than fifteen units";
    starve({
        {"emsc_MemDup", false, [](Err) { return endingOf(static_cast<char*>(emsc_MemDup(text, sizeof text)), text); }},
        {"emsc_HeapRealloc", false,
         [](Err) {
             void* block = emsc_HeapMalloc(8);
             void* larger = emsc_HeapRealloc(block, 10000);
             emsc_HeapFree(larger == nullptr ? block : larger);
             return doneIf(larger != nullptr, true);
         }},
        {"eint_InitToolkit", true, [](Err err) { return doneIf(eint_InitToolkit(err) != nullptr, true); }},
        {"eerr_CreateErrorReport", false,
         [](Err) {
             Eerr_ErrorReport* report = eerr_CreateErrorReport("f", 1, EERR_ERROR, nullptr, "%s", text);
             Eerr_ErrorReport* copy = eerr_ErrorReportDuplicate(report);
             const Ending ending = doneIf(copy != nullptr, copy != nullptr && std::strcmp(copy->message, text) == 0);
             eerr_DeleteErrorReportEx(&report);
             eerr_DeleteErrorReportEx(&copy);
             return ending;
         }},
        {"eerr_ErrorHandlerRegister", false,
         [](Err) {
             void* handle = eerr_ErrorHandlerRegister([](long, void*) {}, nullptr);
             eerr_ErrorHandlerRemove(handle);
             return doneIf(handle != nullptr, true);
         }},
        {"a failure of the caller", true, reportIsMadeOfNothing},
        {"etxt_Text_Ascii2Unicode", false,
         [](Err) { return doneIf(Wide(etxt_Text_Ascii2Unicode(nullptr, text, 0)) != nullptr, true); }},
        {"etxt_Text_Unicode2Ascii", false,
         [](Err) {
             return endingOf(etxt_Text_Unicode2Ascii(nullptr, wide, 0), "wide text of more than fifteen units");
         }},
        {"etxt_Text_UnixMBS2Unicode", false,
         [](Err) { return doneIf(Wide(etxt_Text_UnixMBS2Unicode(text)) != nullptr, true); }},
        {"etxt_Text_Unicode2UnixMBS", false,
         [](Err) { return endingOf(etxt_Text_Unicode2UnixMBS(wide), "wide text of more than fifteen units"); }},
        {"EtxtTextA", false, [](Err) { return copyHolder(); }},
    });
}

TEST(Allocation, Strings)
{
    estr_PutEnv("ALLOCATION_TEST", "$ALLOCATION_TEST_2/of a path that is long");
    estr_PutEnv("ALLOCATION_TEST_2", "the first directory");
    static const long numbers[] = {1, -2};
    static const double reals[] = {0.5, -1234.5};
    static const char* const array[] = {text, "b"};
    static const Owned<Estr_XLFormat, estr_XLFormatFree> format(estr_XLFormatCreate("#,##0.00 \"of a unit\"", nullptr));
    static const List list(estr_StringToStringList(2, array, nullptr));
    starve({
        {"estr_StringCopy", false,
         [](Err) {
             char* first = estr_Duplicate("a");
             char* longer = first == nullptr ? nullptr : estr_StringCat(first, first, text);
             emsc_HeapFree(longer == nullptr ? first : nullptr);
             return endingOf(longer, "aa text of more than fifteen bytes");
         }},
        {"estr_Sprintf", true, [](Err err) { return endingOf(estr_Sprintf(nullptr, "%s", err, text), text); }},
        {"estr_QuoteString", true,
         [](Err err) { return endingOf(estr_QuoteString("a \"b\" of a text", 1, err), "\"a \\\"b\\\" of a text\""); }},
        {"estr_AddCR", true, [](Err err) { return endingOf(estr_AddCR("a\nb", err), "a\r\nb"); }},
        {"estr_GetSubString", true, [](Err err) { return endingOf(estr_GetSubString(text, 2, 99, err), text + 2); }},
        {"estr_StringListAppend", true, append},
        {"estr_StringListCopy", true,
         [](Err err) {
             return endingOf(estr_StringListQuotedCopy(list.get(), nullptr, err),
                             {"\"a text of more than fifteen bytes\"", "\"b\""});
         }},
        {"estr_StringListQuote", true,
         [](Err err) {
             List copy(estr_StringListCopy(list.get(), nullptr, err));
             if (copy == nullptr) {
                 return Ending::failed;
             }
             const bool quoted = estr_StringListQuote(copy.get(), 0, err) != nullptr;
             const bool right = std::strcmp(copy->strings[1], quoted ? "'b'" : "b") == 0;
             return !right ? Ending::wrong : quoted ? Ending::right : Ending::failed;
         }},
        {"estr_LongToStringList", true,
         [](Err err) {
             return endingOf(estr_LongToStringList(2, numbers, err), {"1", "-2"});
         }},
        {"estr_SplitString", false,
         [](Err) {
             return endingOf(estr_SplitString("a text that is long,b", ","), {"a text that is long", "b"});
         }},
        {"estr_StringListToDelimString", false,
         [](Err) {
             return endingOf(estr_StringListToDelimString(list.get(), ", "), "a text of more than fifteen bytes, b");
         }},
        {"estr_StringListA2U", true,
         [](Err err) {
             Estr_StringListU* wide = estr_StringListA2U(list.get(), err);
             const bool made = wide != nullptr;
             for (std::int32_t i = 0; made && i < wide->count; ++i) {
                 emsc_HeapFree(wide->strings[i]);
             }
             emsc_HeapFree(made ? wide->strings : nullptr);
             emsc_HeapFree(wide);
             return doneIf(made, true);
         }},
        {"estr_EncodeUnicode", false,
         [](Err) {
             const Wide wide(estr_DecodeUnicode("a \\u00E4 of many characters"));
             return wide == nullptr ? Ending::failed
                                    : endingOf(estr_EncodeUnicode(wide.get()), "a \\u00E4 of many characters");
         }},
        {"estr_StringToIntList", true,
         [](Err err) {
             std::int32_t* made = nullptr;
             const long count = estr_StringToIntList("1,3:50", ",", &made, err);
             const Ending ending = doneIf(count >= 0, count == 49 && made[48] == 50);
             emsc_HeapFree(made);
             return ending;
         }},
        {"estr_EvaluateString", true,
         [](Err err) {
             const double value = estr_EvaluateString("max(1, 2^3) * sqrt(4)", err);
             return doneIf(value == value, value == 16);
         }},
        {"estr_ArgsGet", true,
         [](Err err) {
             return endingOf(estr_ArgsGet("'one argument of blanks' two", err), {"one argument of blanks", "two"});
         }},
        {"estr_XLFormatCreate", true,
         [](Err err) {
             const Owned<Estr_XLFormat, estr_XLFormatFree> made(
                 estr_XLFormatCreate("0.00;\"a literal of many bytes\"", err));
             return doneIf(made != nullptr, true);
         }},
        {"estr_XLFormatPrintNumberGroup", true,
         [](Err err) {
             return endingOf(estr_XLFormatPrintNumberGroup(format.get(), 2, reals, err),
                             {"0.50 of a unit", "-1,234.50 of a unit"});
         }},
        {"estr_StringExpand", true,
         [](Err err) {
             return endingOf(estr_StringExpand("$ALLOCATION_TEST/x", err),
                             "$ALLOCATION_TEST_2/of a path that is long/x");
         }},
        {"estr_PathExpand", false,
         [](Err) { return expandedPath("${ALLOCATION_TEST}//x", "the first directory/of a path that is long/x"); }},
        {"estr_GetPathList", false,
         [](Err) {
             long count = 0;
             char** paths = estr_GetPathList("$ALLOCATION_TEST;b", &count);
             const Ending ending = doneIf(paths != nullptr, count == 2);
             estr_FreePathList(paths);
             return ending;
         }},
        /* The translation only: the engine that matches does not outlive an allocation that fails. */
        {"estr_WildREDetermine", false,
         [](Err) {
             char expression[64];
             const char* reason = nullptr;
             const long length = estr_WildREDetermine("a+(pattern|form) of *", expression, 64, 1, nullptr, &reason);
             return doneIf(length >= 0, std::string_view(expression) == "^a(pattern|form)+ of ");
         }},
    });
}

TEST(Allocation, Containers)
{
    starve({
        {"ebuf", false, [](Err) { return elements(); }},
        {"bytes", false, [](Err) { return bytes(); }},
        {"elnk", false, [](Err) { return links(); }},
        {"ehsh", true, hashKeys},
        {"ehsh_KeyList", true, listKeys},
        {"edlm", true, records},
    });
}
