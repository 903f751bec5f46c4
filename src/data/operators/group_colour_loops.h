/* Colours over pieces of F64: the double hexcone with blue at 0, red at 120 and green at 240 degrees; the single hexcone
 * of hue, saturation and value; and printing inks. Both branches of a choice are computed and one is taken. Compiled once
 * for each instruction set. */

namespace emantle::EMANTLE_TARGET {

struct Inten {
    static double of(double r, double g, double b)
    {
        const double most = r > g ? (r > b ? r : b) : (g > b ? g : b);
        const double fewest = r < g ? (r < b ? r : b) : (g < b ? g : b);
        return (most + fewest) / 2;
    }
};

struct Satur {
    static double of(double r, double g, double b)
    {
        const double most = r > g ? (r > b ? r : b) : (g > b ? g : b);
        const double fewest = r < g ? (r < b ? r : b) : (g < b ? g : b);
        const double sum = most + fewest;
        const double base = sum / 2 <= 0.5 ? sum : 2 - most - fewest;
        const double saturation = (most - fewest) / base;
        return most == fewest ? 0 : saturation;
    }
};

struct Hue {
    static double of(double r, double g, double b)
    {
        const double most = r > g ? (r > b ? r : b) : (g > b ? g : b);
        const double fewest = r < g ? (r < b ? r : b) : (g < b ? g : b);
        const double span = most - fewest;
        const double rc = (most - r) / span;
        const double gc = (most - g) / span;
        const double bc = (most - b) / span;
        const double red = 2 + bc - gc;
        const double green = 4 + rc - bc;
        const double blue = 6 + gc - rc;
        const double hue = 60 * (r == most ? red : g == most ? green : blue);
        const double wrapped = hue >= 360 ? hue - 360 : hue;
        return most == fewest ? 0 : wrapped;
    }
};

inline double wrappedDegrees(double degrees)
{
    return degrees - 360 * __builtin_floor(degrees / 360);
}

/* The two levels of the double hexcone. */
struct Levels {
    double low;
    double high;

    Levels(double intensity, double saturation)
    {
        const double dark = (1 + saturation) * intensity;
        const double light = intensity + saturation - intensity * saturation;
        high = intensity <= 0.5 ? dark : light;
        low = 2 * intensity - high;
    }
};

/* The hue comes over its maximum. */
struct Red {
    static double of(double intensity, double hue, double saturation)
    {
        const Levels level(intensity, saturation);
        const double h = wrappedDegrees(hue * 360);
        const double d = level.high - level.low;
        const double rising = level.low + d * h / 60;
        const double falling = level.low + d * (240 - h) / 60;
        return h < 60 ? rising : h < 180 ? level.high : h < 240 ? falling : level.low;
    }
};

struct Green {
    static double of(double intensity, double hue, double saturation)
    {
        const Levels level(intensity, saturation);
        const double h = wrappedDegrees(hue * 360);
        const double d = level.high - level.low;
        const double rising = level.low + d * (h - 120) / 60;
        const double falling = level.low + d * (360 - h) / 60;
        return h < 120 ? level.low : h < 180 ? rising : h < 300 ? level.high : falling;
    }
};

struct Blue {
    static double of(double intensity, double hue, double saturation)
    {
        const Levels level(intensity, saturation);
        const double h = wrappedDegrees(hue * 360);
        const double d = level.high - level.low;
        const double falling = level.low + d * (120 - h) / 60;
        const double rising = level.low + d * (h - 240) / 60;
        const double before = h < 120 ? falling : level.low; /* in halves: the compiler makes branches of a longer chain */
        const double behind = h < 300 ? rising : level.high;
        const double either = h < 240 ? before : behind;
        return h < 60 ? level.high : either;
    }
};

/* The value of one channel by its sector: full, falling, empty, rising. The channels are a third of the circle apart. */
template <int behindRed>
struct Hsv {
    static double of(double hue, double saturation, double value)
    {
        const double h = wrappedDegrees(hue * 360) / 60;
        const double place = __builtin_floor(h);
        const double f = h - place;
        const double turned = place + behindRed;
        const double sector = turned >= 6 ? turned - 6 : turned;
        const double falling = (1 - saturation * f) * value;
        const double empty = (1 - saturation) * value;
        const double rising = (1 - (1 - f) * saturation) * value;
        const int isFull = (sector == 0) + (sector >= 5); /* a sum: a branch would keep the loop from vectors */
        const double full = isFull != 0 ? value : empty;
        const double channel = sector == 1 ? falling : sector == 4 ? rising : full;
        return saturation == 0 ? value : channel;
    }
};

template <class Part>
void threeChannels(double* out, const GroupPiece& piece, const double* maxima)
{
    const auto* a = static_cast<const double*>(piece.sources[0]);
    const auto* b = static_cast<const double*>(piece.sources[1]);
    const auto* c = static_cast<const double*>(piece.sources[2]);
    const double most[] = {maxima[0], maxima[1], maxima[2]};
    const long count = piece.count;
#if !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long e = 0; e < count; ++e) {
        out[e] = Part::of(a[e] / most[0], b[e] / most[1], c[e] / most[2]);
    }
}

/* `ink` of cyan, yellow and magenta, and black. */
template <int ink>
void ofInks(double* out, const GroupPiece& piece, const double* maxima)
{
    const auto* colour = static_cast<const double*>(piece.sources[ink]);
    const auto* black = static_cast<const double*>(piece.sources[3]);
    const double mostColour = maxima[ink];
    const double mostBlack = maxima[3];
    const long count = piece.count;
#if !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long e = 0; e < count; ++e) {
        out[e] = (1 - colour[e] / mostColour) * (1 - black[e] / mostBlack);
    }
}

constexpr ColourLoop kColourLoops[] = {threeChannels<Inten>,  threeChannels<Hue>,    threeChannels<Satur>,
                                       threeChannels<Red>,    threeChannels<Green>,  threeChannels<Blue>,
                                       threeChannels<Hsv<0>>, threeChannels<Hsv<4>>, threeChannels<Hsv<2>>,
                                       ofInks<0>,             ofInks<2>,             ofInks<1>};
static_assert(sizeof kColourLoops / sizeof kColourLoops[0] == static_cast<std::size_t>(Colour::count));

}  // namespace emantle::EMANTLE_TARGET
