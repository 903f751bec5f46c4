#include "tables/edsc/types.h"

#include <cstring>

namespace emantle::tables {

namespace {

constexpr std::int32_t kToData[kColumnTypes] = {EGDA_TYPE_S32, EGDA_TYPE_F64, EGDA_TYPE_C128, EGDA_TYPE_STRING};

/* Exact: a column read as it is. */
constexpr std::int32_t kFromData[EGDA_NUM_TYPES] = {-1, -1, -1, -1, -1, -1, -1, -1, EDSC_COLUMN_INTEGER, -1,
                                                    EDSC_COLUMN_REAL, -1, EDSC_COLUMN_COMPLEX, EDSC_COLUMN_STRING};

/* U32 is real: an integer column is signed. */
constexpr std::int32_t kWidest[EGDA_NUM_TYPES] = {0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 1, 2, 2, 3};

struct TypeRow {
    const char* name;
    std::int32_t fileSize; /* 0: as wide as the column says */
    int item;
};

constexpr TypeRow kTypes[kColumnTypes] = {{"integer", 4, EMIF_TYPE_S32},
                                          {"real", 8, EMIF_TYPE_DOUBLE},
                                          {"complex", 16, EMIF_TYPE_DCOMPLEX},
                                          {"string", 0, EMIF_TYPE_CHAR}};

}  // namespace

const char* columnTypeName(std::int32_t type) noexcept { return isColumnType(type) ? kTypes[type].name : nullptr; }

std::int32_t columnTypeOfName(const char* name) noexcept
{
    for (std::int32_t type = 0; name != nullptr && type < kColumnTypes; ++type) {
        if (std::strcmp(kTypes[type].name, name) == 0) {
            return type;
        }
    }
    return kUnknownColumnType;
}

Egda_PixelType dataTypeOfColumn(std::int32_t type) noexcept { return kToData[type]; }

std::int32_t widestColumnType(Egda_PixelType type) noexcept
{
    return type >= 0 && type < EGDA_NUM_TYPES ? kWidest[type] : kUnknownColumnType;
}

std::int64_t elementFileSize(std::int32_t type, std::int32_t maxNumChars) noexcept
{
    return kTypes[type].fileSize == 0 ? maxNumChars : kTypes[type].fileSize;
}

mif::DesignPtr elementDesign(EerrException& scope, const char* name, std::int32_t type, std::int32_t maxNumChars)
{
    require(isColumnType(type), "Unknown column type %d.", type);
    const int item = kTypes[type].item | EMIF_ITEM_COUNT;
    const int count = type == EDSC_COLUMN_STRING ? maxNumChars : 1;
    return mif::DesignPtr(checked(scope, emif_DesignCreate(nullptr, name, scope, item, "element", count, 0)));
}

}  // namespace emantle::tables

EMANTLE_API const int32_t* emsc_AddressOf_Edsc_ColToBdConvertTbl(void) { return emantle::tables::kToData; }

EMANTLE_API const int32_t* emsc_AddressOf_Edsc_BdToColConvertTbl(void) { return emantle::tables::kFromData; }
