#pragma once

#include <emantle/data/egda/group.h>

/* The group functions as their tables name them. */

namespace emantle {

struct Group;

struct GroupMember {
    const char* name;
    /* What the argument list must hold for `one`. */
    bool (*holds)(const Group& group);
    /* Computes a layer of the destination. */
    void (*one)(const Group& group, Egda_PixelType type);
    /* Instead of `one`: computes the layers of the destination together. */
    void (*all)(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Egda_PixelType type,
                Eerr_ErrorReport** err) = nullptr;
};

namespace group {

extern const GroupMember egda_GpfMean, egda_GpfSdevi, egda_GpfDiversity, egda_GpfDensity, egda_GpfMajority,
    egda_GpfMinority, egda_GpfPosition, egda_GpfRank;
extern const GroupMember egda_GpfIndex, egda_GpfPick, egda_GpfCondition, egda_GpfIfOr, egda_GpfFillArray, egda_GpfIncFill;
extern const GroupMember egda_GpfInten, egda_GpfHue, egda_GpfSatur, egda_GpfRed, egda_GpfGreen, egda_GpfBlue,
    egda_GpfHSVtoRed, egda_GpfHSVtoGreen, egda_GpfHSVtoBlue, egda_GpfCYMKtoRed, egda_GpfCYMKtoGreen,
    egda_GpfCYMKtoBlue, egda_GpfRgbToIhs, egda_GpfIhsToRgb, egda_GpfColorElementsByRGB, egda_GpfColorElementsByIHS;

}  // namespace group

/* Runs a member for sources of `type`. */
void runGroup(const GroupMember& member, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
              Egda_PixelType type, Eerr_ErrorReport** err);

}  // namespace emantle
