#include <emantle/emantle.h>

#include <cstdio>

int main()
{
    Eerr_ErrorReport* err = nullptr;
    Egda_BaseData* image = egda_BaseDataCreate(3, 4, EGDA_TYPE_U2, EGDA_RASTER_OBJECT, nullptr, &err);
    egda_BaseDataSetScalar(image, 7.0, 0, 0, &err);
    double low = 0;
    double high = 0;
    egda_BaseDataStats(image, 4, 3, &low, &high);
    egda_BaseDataDelete(image, &err);
    std::printf("A two-bit raster filled with 7 holds %g to %g\n", low, high);
    return err == nullptr && low == 3 && high == 3 ? 0 : 1;
}
