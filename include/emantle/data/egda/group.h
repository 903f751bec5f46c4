#ifndef EMANTLE_DATA_EGDA_GROUP_H
#define EMANTLE_DATA_EGDA_GROUP_H

#include <emantle/data/egda/operations.h>

/* egda, group functions: operators that read all their sources at each place. They stand in operations.def, and take masks
 * and scalar sources as all operators do. With n sources, numbered from 0:
 *
 *    Mean, Sdevi             all are data                            F64, or C128 part by part: sum / n, and the root of
 *                                                                    the squared deviations over n - 1
 *    Diversity               0 work buffer; data from 1 on           how many values there are
 *    Density                 0 a value; data from 1 on               how many equal it, itself included
 *    Majority, Minority      0 and 1 work buffers; data from 2 on    the value that is there most or least often; of equals
 *                                                                    the one met first
 *    Position                0 and 1 work buffers; 2 a fraction f    the value at place m f of the m values in order, within
 *                            from 0 to 1; data from 3 on             them
 *    Rank                    0 and 1 work buffers; 2 the number k    how many of the values are below the k-th
 *                            of a source from 0 on; data from 3 on
 *    Index                   0 a value; data from 1 on               the number of the first that equals it, or 0
 *    Pick                    0 a number s; data from 1 on            source s, or 0
 *    Condition               n / 2 conditions, then as many data     the data of the first condition that is not 0, or 0
 *    IfOr                    0 condition, 1 and 2 data               1 where the condition is not 0, else 2
 *    FillArray               as many as elements                     the first element of each source, row by row
 *    IncFill                 0 start, 1 and 2 steps                  start + line * step 1 + place * step 2; for a matrix
 *                                                                    step 1 goes with the place and step 2 with the line
 *    Inten, Hue, Satur       0 to 2 the maxima of the channels;      of the double hexcone, from 0 to 1 and hue in degrees:
 *                            3 to 5 red, green, blue                 blue 0, red 120, green 240
 *    Red, Green, Blue        ... 3 to 5 intensity, hue, saturation   from 0 to 1
 *    HSVto...                ... 3 to 5 hue, saturation, value       from 0 to 1
 *    CYMKto...               0 to 3 maxima; 4 to 7 cyan, yellow,     (1 - c)(1 - k) from 0 to 1, for red; magenta for
 *                            magenta, black                          green, yellow for blue
 *    RgbToIhs, IhsToRgb      one stack of three layers, or three     three layers, of channels from 0 to 1 and hue in
 *                            sources                                 degrees
 *    ColorElementsByRGB      as for Inten                            three layers: intensity, hue, saturation
 *    ColorElementsByIHS      as for Red                              three layers: red, green, blue
 *
 *  1. The type is that of the last source. Sources of other types convert to it, and results to the type of the
 *     destination, as epxm_Convert does; fractions, numbers and conditions are read in their own types.
 *  2. Work buffers take their place in the list and are not read or written.
 *  3. They fail with 1 where sources are missing or strings stand among numbers, and with 5 when memory is out. Debug
 *     builds assert that the list is as above. Elements that FillArray has no source for stay. */

/* Orders `values`: indices[i] becomes the number, from 0 on, of the value at place i of the ascending order. */
typedef void (*Egda_OrderRoutine)(int32_t* indices, long count, const void* values);

/* By type code; null for complex numbers and strings. A heap sort; the order of equal values is its own. */
EMANTLE_API const Egda_OrderRoutine* emsc_AddressOf_egda_GpfOrder(void);

/* Runs the table of the name on a destination of three layers, or of three times as many as the sources have. Fails as
 * egda_GpfColorElementsByRGB with 1. */
EMANTLE_API void egda_GpfColorElementsByRGBFunc(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                                Eerr_ErrorReport** err);
EMANTLE_API void egda_GpfColorElementsByIHSFunc(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                                Eerr_ErrorReport** err);

#endif
