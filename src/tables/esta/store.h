#pragma once

#include "store/mif/fetch.h"
#include "tables/esta/owners.h"

#include <emantle/store/ehfa.h>

/* The nodes of statistics in a store. Every function works on the current entry and may move it. */

namespace emantle::tables {

struct CovarianceRecord {
    Egda_BaseData covariance;
};
struct ExcludedValuesRecord {
    Egda_BaseData* valueBD;
};
struct SkipFactorsRecord {
    std::int32_t skipFactorX;
    std::int32_t skipFactorY;
};

extern mif::OwnDesign statisticsDesign;
extern mif::OwnDesign covarianceDesign;
extern mif::OwnDesign excludedValuesDesign;
extern mif::OwnDesign skipFactorsDesign;

inline constexpr const char* kStatisticsType = "Esta_Statistics";
inline constexpr const char* kCovarianceType = "Esta_Covariance";
inline constexpr const char* kExcludedValuesType = "Esta_ExcludedValues";
inline constexpr const char* kSkipFactorsType = "Esta_SkipFactors";

/* Moves; false when there is nothing there. A null path is the current entry. */
bool seek(EerrException& scope, Ehfa_File* file, long method, const char* name);
bool seekPath(EerrException& scope, Ehfa_File* file, const char* path);

/* Moves to the child of type `type` of the node at `path` or, with `searchUpward`, of the nearest node above that has
 * one. */
bool seekType(EerrException& scope, Ehfa_File* file, const char* path, const char* type, bool searchUpward);

/* Writes the child `name` of the current entry, over the one of that name if there is one, which becomes current. */
void writeChild(EerrException& scope, Ehfa_File* file, const char* name, const char* type, const void* record,
                mif::OwnDesign& design);

/* The current entry's excluded values, null when there are none; and both kinds of writes, in place of what it has. */
DataPtr readExcludedValues(EerrException& scope, Ehfa_File* file);
void writeExcludedValues(EerrException& scope, Ehfa_File* file, const Egda_BaseData* values);
void writeSkipFactors(EerrException& scope, Ehfa_File* file, std::int32_t skipX, std::int32_t skipY);

}  // namespace emantle::tables
