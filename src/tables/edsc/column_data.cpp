#include "tables/edsc/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>
#include <emantle/data/egda/basedata.h>
#include <emantle/data/epxm/convert.h>
#include <string_view>
#include <utility>
#include <vector>

/* Rows of columns, in runs: what must be converted passes a buffer, everything else goes straight to the format. */

using namespace emantle;
using namespace emantle::tables;

namespace {

/* Rows that are converted at a time; a megabyte of the widest number. */
constexpr std::int32_t kRun = 0x10000;

const Edsc_TableMethods& checkedRange(const Edsc_ColumnInstance* column, std::int64_t startRow, std::int64_t numRows)
{
    require(column != nullptr, "Args");
    require(column->table != nullptr, "Missing column table pointer");
    require(startRow >= 0 && numRows >= 0 && startRow + numRows <= column->numRows,
            "Invalid range of row numbers specified:  %d - %d", static_cast<int>(startRow),
            static_cast<int>(startRow + numRows - 1));
    return methodsOf(column->table);
}

/* The elements of the first column of a record, `step` bytes apart. */
struct Elements {
    explicit Elements(const Egda_BaseData& data) noexcept
        : first(static_cast<char*>(data.firstelement)),
          step(data.objecttype == EGDA_MATRIX_OBJECT ? data.numbytes : data.pitch),
          dense(step == data.numbytes)
    {
    }
    char* at(std::int32_t row) const noexcept { return first + std::ptrdiff_t{row} * step; }

    char* first;
    std::int32_t step;
    bool dense;
};

void requireConversion(Egda_PixelType from, Egda_PixelType to)
{
    const bool known = from >= 0 && from < EGDA_NUM_TYPES && to >= 0 && to < EGDA_NUM_TYPES;
    require(known && (from == EGDA_TYPE_STRING) == (to == EGDA_TYPE_STRING),
            "Data of type %d do not convert to type %d", from, to);
}

/* Texts that a format allocated; what is not moved out is freed. */
class Texts {
public:
    explicit Texts(std::int32_t count) : texts_(static_cast<std::size_t>(count)) {}
    ~Texts() { std::for_each(texts_.begin(), texts_.end(), [](char* text) { emsc_HeapFree(text); }); }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;

    char** data() noexcept { return texts_.data(); }
    char* release(std::int32_t i) noexcept { return std::exchange(texts_[static_cast<std::size_t>(i)], nullptr); }
    const char* operator[](std::int32_t i) const noexcept { return texts_[static_cast<std::size_t>(i)]; }

private:
    std::vector<char*> texts_;
};

struct Reader {
    EerrException& scope;
    const Edsc_TableMethods& methods;
    Edsc_ColumnInstance& column;

    void operator()(std::int32_t startRow, std::int32_t count, void* data) const
    {
        callFormat(scope, methods, "ColumnDataRead failed", methods.ColumnDataRead, column.handle, startRow, count,
                   data);
    }
};

struct Writer {
    EerrException& scope;
    const Edsc_TableMethods& methods;
    Edsc_ColumnInstance& column;

    void operator()(std::int32_t startRow, std::int32_t count, const void* data) const
    {
        require(methods.ColumnDataWrite, "%s table format does not support column data writing", methods.instanceName);
        callFormat(scope, methods, "ColumnDataWrite failed", methods.ColumnDataWrite, column.handle, startRow, count,
                   data);
    }
};

/* Calls `move(offset, length)` for each run of `count` rows. */
template <class Move>
void inRuns(std::int32_t count, Move&& move)
{
    for (std::int32_t done = 0; done < count; done += std::min(kRun, count - done)) {
        move(done, std::min(kRun, count - done));
    }
}

void readTexts(const Reader& read, std::int32_t startRow, std::int32_t count, const Elements& target)
{
    inRuns(count, [&](std::int32_t done, std::int32_t length) {
        Texts texts(length);
        read(startRow + done, length, texts.data());
        for (std::int32_t i = 0; i < length; ++i) {
            char*& row = *reinterpret_cast<char**>(target.at(done + i));
            emsc_HeapFree(std::exchange(row, texts.release(i)));
        }
    });
}

void readNumbers(const Reader& read, std::int32_t startRow, std::int32_t count, const Egda_BaseData& data)
{
    const Elements target(data);
    const Egda_PixelType from = dataTypeOfColumn(read.column.dataType);
    if (from == data.datatype && target.dense) {
        read(startRow, count, target.first);
        return;
    }
    const long bytes = egda_NumBytePerPixelFromType(from);
    const Epxm_ConvertIncRoutine convert = emsc_AddressOf_epxm_ConvertInc()[from][data.datatype];
    const Epxm_ConvertRoutine convertDense = emsc_AddressOf_epxm_Convert()[from][data.datatype];
    const HeapPtr<char> run = allocate<char>(static_cast<std::size_t>(std::min(kRun, count) * bytes), kNoMemory);
    inRuns(count, [&](std::int32_t done, std::int32_t length) {
        read(startRow + done, length, run.get());
        if (target.dense) {
            convertDense(run.get(), target.at(done), length);
        } else {
            convert(run.get(), target.at(done), length, bytes, target.step);
        }
    });
}

void writeElements(const Writer& write, std::int32_t startRow, std::int32_t count, const Egda_BaseData& data)
{
    const Elements source(data);
    const Egda_PixelType to = dataTypeOfColumn(write.column.dataType);
    if (to == data.datatype && source.dense) {
        write(startRow, count, source.first);
        return;
    }
    const long bytes = egda_NumBytePerPixelFromType(to);
    const HeapPtr<char> run = allocate<char>(static_cast<std::size_t>(std::min(kRun, count) * bytes), kNoMemory);
    inRuns(count, [&](std::int32_t done, std::int32_t length) {
        if (to == EGDA_TYPE_STRING) {
            for (std::int32_t i = 0; i < length; ++i) {
                std::memcpy(run.get() + i * bytes, source.at(done + i), static_cast<std::size_t>(bytes));
            }
        } else if (source.dense) {
            emsc_AddressOf_epxm_Convert()[data.datatype][to](source.at(done), run.get(), length);
        } else {
            emsc_AddressOf_epxm_ConvertInc()[data.datatype][to](source.at(done), run.get(), length, source.step, bytes);
        }
        write(startRow + done, length, run.get());
    });
}

}  // namespace

EMANTLE_API Emsc_Boolean edsc_ColumnRead(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                         Egda_BaseData* data, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnRead", 0, [&](EerrException& scope) {
        require(column != nullptr && data != nullptr, "Args");
        const std::int32_t count = std::min(numRows, data->numrows);
        const Edsc_TableMethods& methods = checkedRange(column, startRow, count);
        requireConversion(dataTypeOfColumn(column->dataType), data->datatype);
        require(count == 0 || data->firstelement != nullptr, "Args");
        const Reader read{scope, methods, *column};
        if (count == 0) {
            return 1;
        }
        if (data->datatype == EGDA_TYPE_STRING) {
            readTexts(read, startRow, count, Elements(*data));
        } else {
            readNumbers(read, startRow, count, *data);
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnWrite(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                          const Egda_BaseData* data, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnWrite", 0, [&](EerrException& scope) {
        require(column != nullptr && data != nullptr, "Args");
        require(numRows <= data->numrows, "Not enough data in columnData to write %ld rows",
                static_cast<long>(numRows));
        const Edsc_TableMethods& methods = checkedRange(column, startRow, numRows);
        requireConversion(data->datatype, dataTypeOfColumn(column->dataType));
        require(methods.ColumnDataWrite, "%s table format does not support column data writing", methods.instanceName);
        if (numRows > 0) {
            require(data->firstelement != nullptr, "Args");
            writeElements({scope, methods, *column}, startRow, numRows, *data);
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnReadOld(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows, void* data,
                                            Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnReadOld", 0, [&](EerrException& scope) {
        require(data != nullptr, "Args");
        const Edsc_TableMethods& methods = checkedRange(column, startRow, numRows);
        const Reader read{scope, methods, *column};
        if (column->dataType != EDSC_COLUMN_STRING) {
            if (numRows > 0) {
                read(startRow, numRows, data);
            }
            return 1;
        }
        if (FieldsRead* const readFields = shared(methods).ColumnFieldsRead; readFields != nullptr) {
            if (numRows > 0) {
                callFormat(scope, methods, "ColumnDataRead failed", readFields, column->handle, startRow, numRows,
                           data);
            }
            return 1;
        }
        char* const fields = static_cast<char*>(data);
        const auto width = static_cast<std::size_t>(column->maxNumChars);
        inRuns(numRows, [&](std::int32_t done, std::int32_t length) {
            Texts texts(length);
            read(startRow + done, length, texts.data());
            for (std::int32_t i = 0; i < length; ++i) {
                char* const field = fields + static_cast<std::size_t>(done + i) * width;
                std::memset(field, 0, width);
                std::memcpy(field, texts[i] == nullptr ? "" : texts[i],
                            texts[i] == nullptr ? 0 : strnlen(texts[i], width));
            }
        });
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnWriteOld(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                             const void* data, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnWriteOld", 0, [&](EerrException& scope) {
        require(data != nullptr, "Args");
        const Edsc_TableMethods& methods = checkedRange(column, startRow, numRows);
        const Writer write{scope, methods, *column};
        if (column->dataType != EDSC_COLUMN_STRING) {
            if (numRows > 0) {
                write(startRow, numRows, data);
            }
            return 1;
        }
        if (FieldsWrite* const writeFields = shared(methods).ColumnFieldsWrite; writeFields != nullptr) {
            if (numRows > 0) {
                callFormat(scope, methods, "ColumnDataWrite failed", writeFields, column->handle, startRow, numRows,
                           data);
            }
            return 1;
        }
        const char* const fields = static_cast<const char*>(data);
        const auto width = static_cast<std::size_t>(column->maxNumChars);
        inRuns(numRows, [&](std::int32_t done, std::int32_t length) {
            Texts texts(length);
            for (std::int32_t i = 0; i < length; ++i) {
                const char* const field = fields + static_cast<std::size_t>(done + i) * width;
                texts.data()[i] = heapText(std::string_view(field, strnlen(field, width)), kNoMemory).release();
            }
            write(startRow + done, length, texts.data());
        });
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnDataMatchesBinFunction(const Egda_BaseData* data,
                                                           const Edsc_BinFunction* binFunction, int32_t dataType)
{
    const std::int32_t type = widestColumnType(dataType);
    if (data == nullptr || binFunction == nullptr || !isColumnType(type) || type == EDSC_COLUMN_STRING ||
        data->datatype != dataTypeOfColumn(type) || data->firstelement == nullptr) {
        return 0;
    }
    return guarded<Emsc_Boolean>(nullptr, "edsc_ColumnDataMatchesBinFunction", 0, [&](EerrException& scope) {
        const UsableBinFunction record(scope, binFunction);
        if (static_cast<std::uint32_t>(data->numrows) != record->binCount) {
            return 0;
        }
        const Elements elements(*data);
        const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][data->datatype];
        for (std::int32_t bin = 0; bin < data->numrows; ++bin) {
            double lower = 0;
            checked(scope, edsc_BinFunctionApplyInverse(&*record, bin, &lower, nullptr, scope));
            alignas(Egda_Complex128) char element[sizeof(Egda_Complex128)];
            convert(&lower, element, 1);
            if (std::memcmp(element, elements.at(bin), static_cast<std::size_t>(data->numbytes)) != 0) {
                return 0;
            }
        }
        return 1;
    });
}
