#include "data/operators/group.h"
#include "data/operators/row.h"

using namespace emantle;

namespace {

template <const GroupMember& member>
struct GroupFamily {
    template <Egda_PixelType type>
    static void run(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
    {
        runGroup(member, dest, sources, type, err);
    }
    template <Egda_PixelType type>
    static consteval Egda_OperatorRoutine routine()
    {
        return run<type>;
    }
};

}  // namespace

#define EMANTLE_TABLE_OF_group(table, types)                                                        \
    EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void)                                     \
    {                                                                                               \
        return TableOf<GroupFamily<group::table>, type_sets::types.bits>::rows.data();              \
    }
#include "data/operators/homes.h"
