#include "tables/esta/owners.h"

#include <emantle/numerics/efga/create.h>

namespace emantle::tables {

EMANTLE_API Esta_Covariance* esta_CovarianceCreate(long numLayers, Eerr_ErrorReport** err)
{
    return guarded<Esta_Covariance*>(err, "esta_CovarianceCreate", nullptr, [&](EerrException& scope) {
        return checked(scope, efga_MatrixCreate(numLayers, numLayers, EGDA_TYPE_F64, scope),
                       "Error reported by function efga_MatrixCreate");
    });
}

EMANTLE_API Esta_Covariance* esta_CovarianceCopy(const Esta_Covariance* source, Esta_Covariance* target,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_Covariance*>(err, "esta_CovarianceCopy", nullptr, [&](EerrException& scope) {
        return checked(scope, efga_MatrixCopy(source, target, scope), "Error reported by function efga_MatrixCopy");
    });
}

EMANTLE_API void esta_CovarianceDelete(Esta_Covariance* covariance, Eerr_ErrorReport** err)
{
    guarded(err, "esta_CovarianceDelete", [&](EerrException& scope) {
        efga_MatrixDelete(covariance, scope);
        check(scope, "Error reported by function efga_MatrixDelete");
    });
}

EMANTLE_API void esta_CovarianceDestroy(Esta_Covariance** covariance, Eerr_ErrorReport** err)
{
    guarded(err, "esta_CovarianceDestroy", [&](EerrException& scope) {
        if (covariance != nullptr) {
            Esta_Covariance* const gone = *covariance;
            *covariance = nullptr;
            esta_CovarianceDelete(gone, scope);
            check(scope);
        }
    });
}

}  // namespace emantle::tables
