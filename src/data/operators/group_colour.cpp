#include "data/operators/group.h"
#include "data/operators/group_frame.h"

#include <cassert>

/* Group functions of colours. All are computed in double. */

namespace emantle {

namespace {

const ColourLoop& loopOf(Colour colour)
{
    static const ColourLoop* const loops = colourLoops(platform::fastestInstructionSet());
    return loops[static_cast<std::size_t>(colour)];
}

/* The maxima of the channels, then the channels. */
template <Colour colour, long channels>
void part(const Group& group, Egda_PixelType)
{
    double maxima[channels];
    for (std::size_t i = 0; i < channels; ++i) {
        maxima[i] = firstNumber(*group.sources[i]);
    }
    GroupSources sources(group, channels, channels, EGDA_TYPE_F64);
    GroupResult result(*group.dest, group.mask, EGDA_TYPE_F64);
    alignas(64) double values[kGroupPiece];
    forEachPiece(result, [&](long line, long place, long count) {
        sources.at(line, place, count);
        loopOf(colour)(values, sources.piece(count), maxima);
        result.put(values, line, place, count);
    });
}

template <long count>
bool hasSources(const Group& group)
{
    assert(group.n() == count);
    return group.n() >= count;
}

/* Three layers from three others, piece by piece together, so that a destination may be its source. Hue is in degrees. */
void threeAtOnce(const Egda_BaseDataStack& dest, const Group& group, const Colour (&colours)[3],
                 const double (&maxima)[3])
{
    GroupSources sources(group, 0, 3, EGDA_TYPE_F64);
    GroupResult results[] = {{*dest.datalayer[0], group.mask, EGDA_TYPE_F64},
                             {*dest.datalayer[1], group.mask, EGDA_TYPE_F64},
                             {*dest.datalayer[2], group.mask, EGDA_TYPE_F64}};
    alignas(64) double values[3][kGroupPiece];
    forEachPiece(results[0], [&](long line, long place, long count) {
        sources.at(line, place, count);
        for (int i = 0; i < 3; ++i) {
            loopOf(colours[i])(values[i], sources.piece(count), maxima);
        }
        for (int i = 0; i < 3; ++i) {
            results[i].isAsked(line, place, count);
            results[i].put(values[i], line, place, count);
        }
    });
}

/* The three layers of one stack, or one of each of three. */
Group threeLayers(const Egda_BaseDataStackArray& sources)
{
    Group group{nullptr, {}, sources.mask};
    for (long i = 0; i < 3; ++i) {
        const bool isOneStack = sources.numstacks < 3;
        const Egda_BaseData* layer = sources.numstacks < 1 ? nullptr
                                                           : layerFor(*sources.stacks[isOneStack ? 0 : i],
                                                                      isOneStack ? i : 0);
        if (layer != nullptr) {
            group.sources.push_back(layer);
        }
    }
    return group;
}

void transform(const char* name, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
               const Colour (&colours)[3], const double (&maxima)[3], Eerr_ErrorReport** err)
{
    runReported(name, err, [&] {
        const Group group = threeLayers(*sources);
        requireSources(group.n() == 3 && dest->numlayers >= 3);
        threeAtOnce(*dest, group, colours, maxima);
    });
}

void rgbToIhs(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Egda_PixelType, Eerr_ErrorReport** err)
{
    transform("egda_GpfRgbToIhs", dest, sources, {Colour::inten, Colour::hue, Colour::satur}, {1, 1, 1}, err);
}

void ihsToRgb(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Egda_PixelType, Eerr_ErrorReport** err)
{
    transform("egda_GpfIhsToRgb", dest, sources, {Colour::red, Colour::green, Colour::blue}, {1, 360, 1}, err);
}

using Accessor = Egda_OperatorTable (*)();

/* Runs three tables on a third of the destination's layers each. */
void elements(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, const Accessor (&tables)[3],
              Eerr_ErrorReport** err)
{
    PlainScope scope("egda_GpfColorElementsByRGB", err);
    const int32_t layers = dest->numlayers / 3;
    for (int i = 0; i < 3; ++i) {
        Egda_BaseDataStack part{layers, 1, dest->datalayer + i * layers, 0};
        egda_BaseDataStackFunction(tables[i](), &part, sources, scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 1});
        }
    }
}

void elementsByRgb(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Egda_PixelType,
                   Eerr_ErrorReport** err)
{
    elements(dest, sources,
             {emsc_AddressOf_egda_GpfInten, emsc_AddressOf_egda_GpfHue, emsc_AddressOf_egda_GpfSatur}, err);
}

void elementsByIhs(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Egda_PixelType,
                   Eerr_ErrorReport** err)
{
    elements(dest, sources,
             {emsc_AddressOf_egda_GpfRed, emsc_AddressOf_egda_GpfGreen, emsc_AddressOf_egda_GpfBlue}, err);
}

void dispatch(Egda_OperatorTable table, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
              Eerr_ErrorReport** err)
{
    PlainScope scope("egda_GpfColorElementsByRGB", err);
    egda_BaseDataStackFunction(table, dest, sources, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 1});
    }
}

}  // namespace

#define EMANTLE_COLOUR(table, colour, channels)                                                                   \
    const GroupMember group::table{#table, hasSources<2 * (channels)>, part<Colour::colour, channels>}

EMANTLE_COLOUR(egda_GpfInten, inten, 3);
EMANTLE_COLOUR(egda_GpfHue, hue, 3);
EMANTLE_COLOUR(egda_GpfSatur, satur, 3);
EMANTLE_COLOUR(egda_GpfRed, red, 3);
EMANTLE_COLOUR(egda_GpfGreen, green, 3);
EMANTLE_COLOUR(egda_GpfBlue, blue, 3);
EMANTLE_COLOUR(egda_GpfHSVtoRed, hsvRed, 3);
EMANTLE_COLOUR(egda_GpfHSVtoGreen, hsvGreen, 3);
EMANTLE_COLOUR(egda_GpfHSVtoBlue, hsvBlue, 3);
EMANTLE_COLOUR(egda_GpfCYMKtoRed, cymkRed, 4);
EMANTLE_COLOUR(egda_GpfCYMKtoGreen, cymkGreen, 4);
EMANTLE_COLOUR(egda_GpfCYMKtoBlue, cymkBlue, 4);
const GroupMember group::egda_GpfRgbToIhs{"egda_GpfRgbToIhs", nullptr, nullptr, rgbToIhs};
const GroupMember group::egda_GpfIhsToRgb{"egda_GpfIhsToRgb", nullptr, nullptr, ihsToRgb};
const GroupMember group::egda_GpfColorElementsByRGB{"egda_GpfColorElementsByRGB", nullptr, nullptr, elementsByRgb};
const GroupMember group::egda_GpfColorElementsByIHS{"egda_GpfColorElementsByRGB", nullptr, nullptr, elementsByIhs};

}  // namespace emantle

EMANTLE_API void egda_GpfColorElementsByRGBFunc(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                                Eerr_ErrorReport** err)
{
    emantle::dispatch(emsc_AddressOf_egda_GpfColorElementsByRGB(), dest, sources, err);
}

EMANTLE_API void egda_GpfColorElementsByIHSFunc(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                                Eerr_ErrorReport** err)
{
    emantle::dispatch(emsc_AddressOf_egda_GpfColorElementsByIHS(), dest, sources, err);
}
