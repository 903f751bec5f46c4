#include "data/egda/number_records.h"

#include <emantle/data/egda/group.h>
#include <emantle/frame/estr/build.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>

namespace {

using Numbers = std::vector<double>;

/* What a function makes of the data at a place, and of what leads the list; one place at a time. */
struct Member {
    const char* name;
    Egda_OperatorTable table;
    int leading;           /* work buffers and parameters before the data */
    Egda_PixelType result; /* -1: the type of the sources */
    std::function<double(const Numbers& data, double parameter)> expected;
};

Numbers sorted(Numbers values)
{
    std::sort(values.begin(), values.end());
    return values;
}

double commonest(const Numbers& data, bool most)
{
    double best = data[0];
    const auto count = [&](double value) { return std::count(data.begin(), data.end(), value); };
    for (const double value : data) {
        best = (most ? count(value) > count(best) : count(value) < count(best)) ? value : best;
    }
    return best;
}

double at(const Numbers& data, long i)
{
    return data[static_cast<std::size_t>(i)];
}

long limited(double number, std::size_t count)
{
    return std::clamp(static_cast<long>(number), 0L, static_cast<long>(count) - 1);
}

const Member kMembers[] = {
    {"mean", emsc_AddressOf_egda_GpfMean(), 0, EGDA_TYPE_F64,
     [](const Numbers& data, double) {
         double sum = data[0];
         for (std::size_t i = 1; i < data.size(); ++i) {
             sum += data[i];
         }
         return sum / static_cast<double>(data.size());
     }},
    {"sdevi", emsc_AddressOf_egda_GpfSdevi(), 0, EGDA_TYPE_F64,
     [](const Numbers& data, double) {
         long double mean = 0;
         long double squares = 0;
         for (const double value : data) {
             mean += value / static_cast<long double>(data.size());
         }
         for (const double value : data) {
             squares += (value - mean) * (value - mean);
         }
         return static_cast<double>(std::sqrt(squares / static_cast<long double>(data.size() - 1)));
     }},
    {"diversity", emsc_AddressOf_egda_GpfDiversity(), 1, EGDA_TYPE_U16,
     [](const Numbers& data, double) {
         const Numbers all = sorted(data);
         return static_cast<double>(std::map<double, int>([&] {
                                        std::map<double, int> counts;
                                        for (const double value : all) {
                                            ++counts[value];
                                        }
                                        return counts;
                                    }())
                                        .size());
     }},
    {"density", emsc_AddressOf_egda_GpfDensity(), 0, EGDA_TYPE_S32,
     [](const Numbers& data, double) { return static_cast<double>(std::count(data.begin(), data.end(), data[0])); }},
    {"majority", emsc_AddressOf_egda_GpfMajority(), 2, -1,
     [](const Numbers& data, double) { return commonest(data, true); }},
    {"minority", emsc_AddressOf_egda_GpfMinority(), 2, -1,
     [](const Numbers& data, double) { return commonest(data, false); }},
    {"position", emsc_AddressOf_egda_GpfPosition(), 3, -1,
     [](const Numbers& data, double f) {
         return at(sorted(data), limited(static_cast<double>(data.size()) * f, data.size()));
     }},
    {"rank", emsc_AddressOf_egda_GpfRank(), 3, EGDA_TYPE_F32,
     [](const Numbers& data, double k) {
         const Numbers all = sorted(data);
         return static_cast<double>(std::lower_bound(all.begin(), all.end(), at(data, limited(k, data.size()))) -
                                    all.begin());
     }},
    {"index", emsc_AddressOf_egda_GpfIndex(), 0, EGDA_TYPE_U8,
     [](const Numbers& data, double) {
         const auto found = std::find(data.begin() + 1, data.end(), data[0]);
         return found == data.end() ? 0 : static_cast<double>(found - data.begin());
     }},
    {"pick", emsc_AddressOf_egda_GpfPick(), 0, -1,
     [](const Numbers& data, double) {
         return data[0] >= 1 && data[0] < static_cast<double>(data.size()) ? at(data, static_cast<long>(data[0])) : 0;
     }},
    {"condition", emsc_AddressOf_egda_GpfCondition(), 0, -1,
     [](const Numbers& data, double) {
         const long half = static_cast<long>(data.size()) / 2;
         for (long i = 0; i < half; ++i) {
             if (at(data, i) != 0) {
                 return at(data, i + half);
             }
         }
         return 0.0;
     }},
};

/* Sources in every place that operators know: a view with a gap behind its lines, whole records, scalars. */
struct Sources {
    static constexpr long rows = 3, columns = 1050;
    std::vector<Base> owned;
    std::vector<Egda_BaseData*> list;

    Sources(Egda_PixelType type, int leading, int count, double parameter, std::mt19937& random)
    {
        for (int i = 0; i < leading; ++i) {
            add(i < 2 ? recordOf(1, 8, type) : scalarOf(EGDA_TYPE_F64, parameter));
        }
        std::uniform_int_distribution<int> few(0, 3);
        std::uniform_real_distribution<double> real(-4, 4);
        for (int i = 0; i < count; ++i) {
            const bool isView = i % 3 == 1;
            Base whole = makeBase(rows + isView, columns + 5 * isView, type);
            for (long e = 0; e < whole->numelements; ++e) {
                const double value = type >= EGDA_TYPE_F32 && i > 3 ? real(random) : few(random);
                setAt(*whole, e / whole->numcolumns, e % whole->numcolumns, value);
            }
            if (i == 2) {
                whole = scalarOf(type, 2);
            }
            owned.push_back(std::move(whole));
            Egda_BaseData* shown = owned.back().get();
            if (isView) {
                owned.emplace_back(egda_BaseDataDerived(shown, 1, 3, rows, columns, nullptr));
                shown = owned.back().get();
            }
            list.push_back(shown);
        }
    }

    void add(Base base)
    {
        list.push_back(base.get());
        owned.push_back(std::move(base));
    }

    Numbers dataAt(int leading, long row, long column) const
    {
        Numbers data;
        for (std::size_t i = static_cast<std::size_t>(leading); i < list.size(); ++i) {
            const bool isScalar = list[i]->objecttype == EGDA_SCALAR_OBJECT;
            data.push_back(isScalar ? numberAt(*list[i], 0, 0) : numberAt(*list[i], row, column));
        }
        return data;
    }
};

TEST(Group, AgreesWithItsDefinitionForEveryTypeFullAndMasked)
{
    std::mt19937 random(21);
    for (const Member& member : kMembers) {
        for (int type = 0; type <= EGDA_TYPE_F64; ++type) {
            for (const double parameter : {0.0, 0.5, 3.0}) {
                const Sources sources(type, member.leading, 6, parameter, random);
                const Base whole = makeBase(Sources::rows, Sources::columns + 2, member.result < 0 ? type : member.result);
                const Base dest(egda_BaseDataDerived(whole.get(), 0, 1, Sources::rows, Sources::columns, nullptr));
                egda_BaseDataSetScalar(whole.get(), 1, EGDA_SET_ALL, 0, nullptr);
                const Base mask = numbered(Sources::rows, Sources::columns);
                std::fill_n(static_cast<unsigned char*>(mask->data), 600, static_cast<unsigned char>(parameter == 0));
                const bool isMasked = parameter != 3;
                ASSERT_EQ(apply(member.table, dest.get(), sources.list, isMasked ? mask.get() : nullptr), "");
                for (long i = 0; i < Sources::rows * (Sources::columns + 2); ++i) {
                    const long row = i / (Sources::columns + 2);
                    const long column = i % (Sources::columns + 2) - 1;
                    const bool isOutside = column < 0 || column == Sources::columns ||
                                           (isMasked && numberAt(*mask, row, column) == 0);
                    const double value = numberAt(*whole, row, column + 1);
                    const double expected =
                        isOutside ? 1 : member.expected(sources.dataAt(member.leading, row, column), parameter);
                    ASSERT_NEAR(value, expected, std::abs(expected) * 1e-14)
                        << member.name << ' ' << egda_PixelNameFromType(type) << ' ' << row << ' ' << column;
                }
            }
        }
    }
}

double one(Egda_OperatorTable table, Egda_PixelType type, const Numbers& values, std::size_t parameter = 99)
{
    std::vector<Base> owned;
    std::vector<Egda_BaseData*> list;
    for (std::size_t i = 0; i < values.size(); ++i) {
        owned.push_back(i == parameter ? scalarOf(EGDA_TYPE_F64, values[i]) : recordOf(1, 8, type, Numbers(8, values[i])));
        list.push_back(owned.back().get());
    }
    const Base dest = recordOf(1, 8, EGDA_TYPE_F64, Numbers(8, -7));
    EXPECT_EQ(apply(table, dest.get(), list), "");
    EXPECT_EQ(numbersOf(*dest), Numbers(8, numberAt(*dest, 0, 0)));
    return numberAt(*dest, 0, 0);
}

TEST(Group, TiesAndLimitsGoAsTheyAreTold)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const auto majority = emsc_AddressOf_egda_GpfMajority();
    const auto minority = emsc_AddressOf_egda_GpfMinority();
    const auto position = emsc_AddressOf_egda_GpfPosition();
    const auto rank = emsc_AddressOf_egda_GpfRank();
    EXPECT_EQ(one(majority, EGDA_TYPE_U8, {0, 0, 1, 2, 2, 1}), 1);
    EXPECT_EQ(one(majority, EGDA_TYPE_S16, {0, 0, 3, 1, 2, 2, 1}), 1);
    EXPECT_EQ(one(minority, EGDA_TYPE_F32, {0, 0, 5, 4, 4, 3}), 5);
    EXPECT_EQ(one(majority, EGDA_TYPE_F64, {0, 0, nan, 4, nan, 4}), 4);
    EXPECT_EQ(one(position, EGDA_TYPE_U8, {0, 0, 0.5, 40, 10, 30, 20}, 2), 30);
    EXPECT_EQ(one(position, EGDA_TYPE_F64, {0, 0, 1.0, 40, 10, 30, 20}, 2), 40);
    EXPECT_EQ(one(position, EGDA_TYPE_U16, {0, 0, -1.0, 40, 10, 30, 20}, 2), 10);
    EXPECT_EQ(one(position, EGDA_TYPE_U16, {0, 0, nan, 40, 10, 30}, 2), 10);
    EXPECT_EQ(one(rank, EGDA_TYPE_U8, {0, 0, 2, 5, 7, 7, 7, 9}, 2), 1);
    EXPECT_EQ(one(rank, EGDA_TYPE_U8, {0, 0, 99, 5, 7, 7, 7, 9}, 2), 4);
    EXPECT_EQ(one(rank, EGDA_TYPE_U8, {0, 0, -3, 5, 7, 1}, 2), 1);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfPick(), EGDA_TYPE_S8, {-1, 5, 6}), 0);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfPick(), EGDA_TYPE_F32, {2.9, 5, 6}), 6);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfPick(), EGDA_TYPE_U8, {3, 5, 6}), 0);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfIfOr(), EGDA_TYPE_U8, {0, 5, 6}), 6);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfIfOr(), EGDA_TYPE_F64, {nan, 5, 6}), 5);
    EXPECT_EQ(one(emsc_AddressOf_egda_GpfDiversity(), EGDA_TYPE_F64, {0, nan, nan, 1, 1}), 3);
}

TEST(Group, ConditionsAndSelectorsAreReadInTheirOwnTypes)
{
    const Base condition = recordOf(1, 3, EGDA_TYPE_F64, {0.25, 0, -0.0});
    const Base selector = recordOf(1, 3, EGDA_TYPE_U8, {2, 1, 0});
    const Base a = recordOf(1, 3, EGDA_TYPE_S16, {1, 2, 3});
    const Base b = recordOf(1, 3, EGDA_TYPE_S16, {-1, -2, -3});
    const Base dest = makeBase(1, 3, EGDA_TYPE_S16);
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIfOr(), dest.get(), {condition.get(), a.get(), b.get()}), "");
    EXPECT_EQ(numbersOf(*dest), (Numbers{1, -2, -3}));
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfPick(), dest.get(), {selector.get(), a.get(), b.get()}), "");
    EXPECT_EQ(numbersOf(*dest), (Numbers{-1, 2, 0}));
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIfOr(), a.get(), {condition.get(), b.get(), a.get()}), ""); /* in place */
    EXPECT_EQ(numbersOf(*a), (Numbers{-1, 2, 3}));
}

TEST(Group, ComplexNumbersHaveMeansAndDeviationsPartByPart)
{
    for (const int type : {EGDA_TYPE_C64, EGDA_TYPE_C128}) {
        std::vector<Base> owned;
        std::vector<Egda_BaseData*> list;
        for (const std::complex<double> value : {std::complex<double>(1, 10), {3, 20}, {5, 60}}) {
            owned.push_back(recordOf(1, 1, type));
            setAt(*owned.back(), 0, 0, value);
            list.push_back(owned.back().get());
        }
        const Base dest = recordOf(1, 1, EGDA_TYPE_C128);
        EXPECT_EQ(apply(emsc_AddressOf_egda_GpfMean(), dest.get(), list), "");
        EXPECT_EQ(complexAt(*dest, 0, 0), std::complex<double>(3, 30));
        EXPECT_EQ(apply(emsc_AddressOf_egda_GpfSdevi(), dest.get(), list), "");
        EXPECT_EQ(complexAt(*dest, 0, 0), std::complex<double>(2, std::sqrt(700.0)));
        EXPECT_EQ(apply(emsc_AddressOf_egda_GpfDiversity(), dest.get(), list),
                  "egda_BaseDataStackFunction 2 - | egda_NoOperation 1 no operation on this data");
    }
}

Base strings(const std::vector<const char*>& texts)
{
    Base base = makeBase(1, static_cast<long>(texts.size()), EGDA_TYPE_STRING);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        static_cast<char**>(base->data)[i] = estr_Duplicate(texts[i]);
    }
    return base;
}

std::vector<std::string> texts(const Base& base)
{
    std::vector<std::string> all;
    for (const char* text : elements<const char*>(*base)) {
        all.push_back(text == nullptr ? "(none)" : text);
    }
    return all;
}

TEST(Group, StringsAreChosenAndCompared)
{
    const Base a = strings({"one", "two", "three"});
    const Base b = strings({"uno", "two", ""});
    const Base dest = strings({"x", "y", "z"});
    const Base selector = recordOf(1, 3, EGDA_TYPE_U8, {2, 0, 1});
    const Base mask = recordOf(1, 3, EGDA_TYPE_U8, {1, 1, 0});
    using Texts = std::vector<std::string>;
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfPick(), dest.get(), {selector.get(), a.get(), b.get()}, mask.get()), "");
    EXPECT_EQ(texts(dest), (Texts{"uno", "(none)", "z"}));
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIfOr(), dest.get(), {b.get(), b.get(), a.get()}), "");
    EXPECT_EQ(texts(dest), (Texts{"uno", "two", "three"}));
    const Base index = makeBase(1, 3, EGDA_TYPE_S32);
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIndex(), index.get(), {a.get(), b.get(), dest.get()}), "");
    EXPECT_EQ(numbersOf(*index), (Numbers{0, 1, 2}));
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIfOr(), dest.get(), {selector.get(), selector.get(), a.get()}),
              "egda_BaseDataStackFunction 2 - | egda_GpfIfOr 1 The sources are not those of the function");
}

TEST(Group, FillsFromListsAndSteps)
{
    for (int type = EGDA_TYPE_U8; type < EGDA_TYPE_STRING; ++type) {
        for (const int object : {EGDA_TABLE_OBJECT, EGDA_MATRIX_OBJECT, EGDA_RASTER_OBJECT}) {
            std::vector<Base> owned;
            std::vector<Egda_BaseData*> list;
            for (int i = 0; i < 6; ++i) {
                owned.push_back(scalarOf(type, i + 1));
                list.push_back(owned.back().get());
            }
            const Base dest = recordOf(2, 3, type, {}, object);
            const Base mask = recordOf(2, 3, EGDA_TYPE_U8, {1, 1, 1, 1, 0, 1}, object);
            EXPECT_EQ(apply(emsc_AddressOf_egda_GpfFillArray(), dest.get(), list), "");
            EXPECT_EQ(numbersOf(*dest), (Numbers{1, 2, 3, 4, 5, 6}));
            const Base start = scalarOf(type, 5), ten = scalarOf(type, 10);
            EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIncFill(), dest.get(), {start.get(), ten.get(), list[0]}, mask.get()), "");
            EXPECT_EQ(numbersOf(*dest), (Numbers{5, 6, 7, 15, 5, 17}))
                << egda_PixelNameFromType(type) << ' ' << object;
        }
    }
    const Base wraps = makeBase(1, 3, EGDA_TYPE_U8);
    const Base start = scalarOf(EGDA_TYPE_U8, 250), step = scalarOf(EGDA_TYPE_U8, 4);
    EXPECT_EQ(apply(emsc_AddressOf_egda_GpfIncFill(), wraps.get(), {start.get(), step.get(), step.get()}), "");
    EXPECT_EQ(numbersOf(*wraps), (Numbers{250, 254, 2}));
}

template <class T>
void expectOrdered(Egda_PixelType type, std::mt19937& random)
{
    for (const int count : {1, 2, 3, 4, 17, 100}) {
        std::vector<T> values;
        for (int i = 0; i < count; ++i) {
            values.push_back(static_cast<T>(random() % 40));
        }
        std::vector<int32_t> indices(values.size(), -1);
        emsc_AddressOf_egda_GpfOrder()[type](indices.data(), count, values.data());
        std::vector<int32_t> all = indices;
        std::sort(all.begin(), all.end());
        for (int i = 0; i < count; ++i) {
            const auto place = static_cast<std::size_t>(i);
            ASSERT_EQ(all[place], i);
            ASSERT_TRUE(i == 0 || values[static_cast<std::size_t>(indices[place - 1])] <=
                                      values[static_cast<std::size_t>(indices[place])]);
        }
    }
}

TEST(GpfOrder, OrdersByIndicesFromZero)
{
    std::mt19937 random(22);
    expectOrdered<std::uint8_t>(EGDA_TYPE_U2, random);
    expectOrdered<std::int8_t>(EGDA_TYPE_S8, random);
    expectOrdered<std::uint16_t>(EGDA_TYPE_U16, random);
    expectOrdered<std::int16_t>(EGDA_TYPE_S16, random);
    expectOrdered<std::uint32_t>(EGDA_TYPE_U32, random);
    expectOrdered<std::int32_t>(EGDA_TYPE_S32, random);
    expectOrdered<float>(EGDA_TYPE_F32, random);
    expectOrdered<double>(EGDA_TYPE_F64, random);
    EXPECT_EQ(emsc_AddressOf_egda_GpfOrder()[EGDA_TYPE_C64], nullptr);
}

}  // namespace
