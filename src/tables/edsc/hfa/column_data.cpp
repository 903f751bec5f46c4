#include "frame/guard/guard.h"
#include "platform/clock.h"
#include "tables/edsc/hfa/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <memory>
#include <utility>

/* The elements of a column. A number has one form in the file and in the memory of this host, so runs of numbers pass
 * unchanged; texts lie in the file as fields of one width without a terminator. */

using namespace emantle;
using namespace emantle::tables;

static_assert(std::endian::native == std::endian::little, "elements of columns are little-endian");

namespace {

/* Bytes of fields that pass through memory at a time. */
constexpr std::int64_t kPiece = 0x100000;

struct Run {
    std::int64_t position;
    std::int64_t size;
    std::int64_t width; /* bytes of an element */
};

Run runOf(const OpenHFAColumn& column, std::int32_t startRow, std::int32_t numRows)
{
    require(startRow >= 0 && numRows >= 0 &&
                std::int64_t{startRow} + numRows <= std::int64_t{column.header.numRows},
            "Invalid range of row numbers specified:  %d - %d", startRow,
            static_cast<std::int32_t>(std::int64_t{startRow} + numRows - 1));
    return {column.header.columnDataPtr + runSize(column.header, startRow), runSize(column.header, numRows),
            runSize(column.header, 1)};
}

/* Frees texts of a read that did not come to its end. */
class FreshTexts {
public:
    FreshTexts(char** texts, std::int32_t count) noexcept : texts_(texts), count_(count)
    {
        std::fill_n(texts_, count_, nullptr);
    }
    ~FreshTexts()
    {
        for (std::int32_t i = 0; i < count_; ++i) {
            emsc_HeapFree(std::exchange(texts_[i], nullptr));
        }
    }
    FreshTexts(const FreshTexts&) = delete;
    FreshTexts& operator=(const FreshTexts&) = delete;

    void keep() noexcept { count_ = 0; }

private:
    char** texts_;
    std::int32_t count_;
};

void readTexts(EerrException& scope, Ehfa_File* file, const Run& run, std::int32_t numRows, char** texts)
{
    FreshTexts fresh(texts, numRows);
    const std::int64_t rowsOfPiece = std::max<std::int64_t>(1, kPiece / run.width);
    const HeapPtr<char> piece =
        allocate<char>(
        static_cast<std::size_t>(std::min<std::int64_t>(rowsOfPiece, numRows) * run.width), kNoMemory);
    for (std::int64_t row = 0; row < numRows; row += rowsOfPiece) {
        const std::int64_t rows = std::min(rowsOfPiece, numRows - row);
        checked(scope, ehfa_FileMIFDataRead(file, run.position + row * run.width, rows * run.width, piece.get(),
                                            scope));
        for (std::int64_t i = 0; i < rows; ++i) {
            HeapPtr<char> text = allocate<char>(static_cast<std::size_t>(run.width) + 1, kNoMemory);
            std::memcpy(text.get(), piece.get() + i * run.width, static_cast<std::size_t>(run.width));
            texts[row + i] = text.release();
        }
    }
    fresh.keep();
}

void writeTexts(EerrException& scope, Ehfa_File* file, const Run& run, std::int32_t numRows, const char* const* texts)
{
    const std::int64_t rowsOfPiece = std::max<std::int64_t>(1, kPiece / run.width);
    const std::int64_t mostBytes = std::min<std::int64_t>(rowsOfPiece, numRows) * run.width;
    const HeapPtr<char> piece = allocate<char>(static_cast<std::size_t>(mostBytes), kNoMemory);
    for (std::int64_t row = 0; row < numRows; row += rowsOfPiece) {
        const std::int64_t rows = std::min(rowsOfPiece, numRows - row);
        std::memset(piece.get(), 0, static_cast<std::size_t>(rows * run.width));
        for (std::int64_t i = 0; i < rows; ++i) {
            if (const char* text = texts[row + i]; text != nullptr) {
                std::memcpy(piece.get() + i * run.width, text, strnlen(text, static_cast<std::size_t>(run.width)));
            }
        }
        checked(scope, ehfa_FileMIFDataWrite(file, run.position + row * run.width, rows * run.width, piece.get(),
                                             scope));
    }
}

/* The time goes first: a reader that sees new elements sees a new time as well. */
void stamp(EerrException& scope, const OpenHFAColumn& column)
{
    Ehfa_File* file = column.table->file;
    Ehfa_Entry* entry = seekNode(scope, file, column.path, "Can't find column node %s");
    entry->modTime = static_cast<double>(platform::wholeSecondsSinceEpoch());
    checked(scope, ehfa_EntryWrite(file, EHFA_WRITE_CURRENT, nullptr, nullptr, scope));
}

}  // namespace

EMANTLE_API int32_t edsc_HFAColumnDataRead(void* handle, int32_t startRow, int32_t numRows, void* data,
                                           Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnDataRead", -1, [&](EerrException& scope) {
        OpenHFAColumn& column = columnOf(handle);
        require(data != nullptr || numRows == 0, "Args");
        const Run run = runOf(column, startRow, numRows);
        if (run.size == 0) {
            return 0;
        }
        if (column.header.dataType == EDSC_COLUMN_STRING) {
            readTexts(scope, column.table->file, run, numRows, static_cast<char**>(data));
        } else {
            checked(scope, ehfa_FileMIFDataRead(column.table->file, run.position, run.size, data, scope));
        }
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFAColumnDataWrite(void* handle, int32_t startRow, int32_t numRows, const void* data,
                                            Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnDataWrite", -1, [&](EerrException& scope) {
        OpenHFAColumn& column = columnOf(handle);
        require(data != nullptr || numRows == 0, "Args");
        const Run run = runOf(column, startRow, numRows);
        const WholeChange change(scope, column.table->file);
        stamp(scope, column);
        column.isBlank = false;
        if (run.size == 0) {
            return 0;
        }
        if (column.header.dataType == EDSC_COLUMN_STRING) {
            writeTexts(scope, column.table->file, run, numRows, static_cast<const char* const*>(data));
        } else {
            checked(scope, ehfa_FileMIFDataWrite(column.table->file, run.position, run.size, data, scope));
        }
        return 0;
    });
}

namespace emantle::tables {

/* The elements as they lie in the file, of any type. */
std::int32_t edsc_HFAColumnFieldsRead(void* handle, std::int32_t startRow, std::int32_t numRows, void* fields,
                                      Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnFieldsRead", -1, [&](EerrException& scope) {
        OpenHFAColumn& column = columnOf(handle);
        const Run run = runOf(column, startRow, numRows);
        if (run.size > 0) {
            checked(scope, ehfa_FileMIFDataRead(column.table->file, run.position, run.size, fields, scope));
        }
        return 0;
    });
}

std::int32_t edsc_HFAColumnFieldsWrite(void* handle, std::int32_t startRow, std::int32_t numRows, const void* fields,
                                       Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnFieldsWrite", -1, [&](EerrException& scope) {
        OpenHFAColumn& column = columnOf(handle);
        const Run run = runOf(column, startRow, numRows);
        const WholeChange change(scope, column.table->file);
        stamp(scope, column);
        column.isBlank = false;
        if (run.size > 0) {
            checked(scope, ehfa_FileMIFDataWrite(column.table->file, run.position, run.size, fields, scope));
        }
        return 0;
    });
}

/* A file grows by zeros, so that a new run behind its end need not be written to be blank; what is then written first
 * goes straight there. */
std::int32_t edsc_HFAColumnIsBlank(void* handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnIsBlank", -1, [&] { return columnOf(handle).isBlank ? 1 : 0; });
}

}  // namespace emantle::tables
