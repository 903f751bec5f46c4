#include "data/egda/operators_support.h"

#include <emantle/data/epxm/convert.h>

namespace {

using namespace operators_test;

constexpr int kSweptTypes[] = {EGDA_TYPE_U1, EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S16, EGDA_TYPE_U32,
                               EGDA_TYPE_S32, EGDA_TYPE_F32, EGDA_TYPE_F64, EGDA_TYPE_C64, EGDA_TYPE_C128};

bool serves(const std::string& name, int type)
{
    return tableByName(name)[EGDA_RASTER_OBJECT][type].routine != egda_NoOperation;
}

Runner byTable(const std::string& name)
{
    return [table = tableByName(name)](int, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                       Eerr_ErrorReport** err) {
        egda_BaseDataStackFunction(table, dest, sources, err);
    };
}

/* The instruction sets by loops, and the machine's own through the tables. */
std::vector<std::pair<std::string, Runner>> runners(const std::string& name)
{
    std::vector<std::pair<std::string, Runner>> all{{"by table", byTable(name)}};
    for (const InstructionSet set : instructionSets()) {
        all.emplace_back("set " + std::to_string(static_cast<int>(set)), withSet(name, set));
    }
    return all;
}

/* Whether the operator stops at this second operand. */
bool stopsAt(const Oracle& oracle, int type, const Wide& b)
{
    return oracle.divides && ((isWholeType(type) && b.re == 0) ||
                              (isComplexType(type) && b.re * b.re + b.im * b.im < 1e-5L));
}

/* Operands as an image holds them, in the picture of one operation. */
struct Scene {
    Picture picture{0};
    Place dest;
    std::vector<Place> sources;
    Place mask;

    Scene(const Oracle& oracle, int type, long rows, long columns, long object, long gap, long operands)
    {
        const bool byColumns = object == EGDA_MATRIX_OBJECT;
        const auto place = [&](long offset, int of) {
            const long run = byColumns ? rows : columns;
            return Place{offset, rows, columns, of, object, (run + gap) * sizeOfType(of)};
        };
        const long room = (rows + gap + 1) * (columns + gap + 1) * 16 + 64;
        dest = place(64, oracle.dest(type));
        for (long i = 0; i < operands; ++i) {
            sources.push_back(place(64 + (i + 1) * room, type));
        }
        mask = {64 + (operands + 1) * room, rows, columns, EGDA_TYPE_U8, object, (byColumns ? rows : columns) + gap};
        picture = Picture(static_cast<std::size_t>((operands + 2) * room + 128));
    }

    template <class Value>
    void fill(const Place& place, Value value)
    {
        long n = 0;
        for (long line = 0; line < linesOf(place); ++line) {
            for (long i = 0; i < runOf(place); ++i) {
                write(place.type, picture.element(place, line, i), value(n++));
            }
        }
    }

    /* Runs of both kinds and single elements. */
    void fillMask(unsigned seed)
    {
        std::mt19937 random(seed);
        fill(mask, [&](long n) { return Wide{n / 70 % 3 == 0 ? 0.L : n / 70 % 3 == 1 ? 255.L : random() % 3, 0}; });
    }
};

long operandsOf(const Oracle& oracle) { return oracle.arity == Arity::one ? 1 : 2; }

/* Random picks from the limit values, zero divisors left out. */
void fillOperands(Scene& scene, const Oracle& oracle, int type, unsigned seed)
{
    std::mt19937 random(seed);
    const std::vector<Wide> values = limitValues(type);
    for (std::size_t i = 0; i < scene.sources.size(); ++i) {
        scene.fill(scene.sources[i], [&](long) {
            Wide value = values[random() % values.size()];
            while (i > 0 && stopsAt(oracle, type, value)) {
                value = values[random() % values.size()];
            }
            return value;
        });
    }
}

void forEachOperator(const std::function<void(const std::string& name, const Oracle& oracle, int type)>& body)
{
    for (const auto& [name, oracle] : oracles()) {
        for (const int type : kSweptTypes) {
            if (serves(name, type)) {
                body(name, oracle, type);
            }
        }
    }
}

TEST(Operators, EveryOperatorOfElementsHasAnOracle)
{
    for (const auto& [name, op] : operatorsByName()) {
        EXPECT_TRUE(oracles().contains(name) || name == "egda_SaoFill") << name;
    }
}

TEST(Operators, AgreeWithWideArithmeticForEveryPairOfLimitValues)
{
    forEachOperator([](const std::string& name, const Oracle& oracle, int type) {
        const std::vector<Wide> values = limitValues(type);
        std::vector<std::pair<Wide, Wide>> pairs;
        for (const Wide& a : values) {
            for (const Wide& b : values) {
                /* The second operand of a complex power is read as a run of doubles. */
                if (!stopsAt(oracle, type, b) && !(name == "egda_MaoPow" && isComplexType(type))) {
                    pairs.emplace_back(a, b);
                }
                if (oracle.arity == Arity::one) {
                    break;
                }
            }
        }
        if (pairs.empty()) {
            return;
        }
        Scene scene(oracle, type, 1, static_cast<long>(pairs.size()), EGDA_RASTER_OBJECT, 0, operandsOf(oracle));
        scene.fill(scene.sources[0], [&](long n) { return pairs[static_cast<std::size_t>(n)].first; });
        if (operandsOf(oracle) == 2) {
            scene.fill(scene.sources[1], [&](long n) { return pairs[static_cast<std::size_t>(n)].second; });
        }
        for (const auto& [how, runner] : runners(name)) {
            expectAsOracle(oracle, runner, scene.picture, scene.dest, scene.sources, nullptr,
                           name + ' ' + egda_PixelNameFromType(type) + ' ' + how);
        }
    });
}

/* Lengths around every vector, in lines with and without gaps, under a mask and without one. */
TEST(Operators, KeepToTheirElementsWhateverTheLength)
{
    unsigned seed = 0;
    forEachOperator([&](const std::string& name, const Oracle& oracle, int type) {
        if (name == "egda_MaoPow" && isComplexType(type)) {
            return;
        }
        for (const auto& [how, runner] : runners(name)) {
            if (how == "by table") {
                continue;
            }
            for (const long columns : {1L, 2L, 3L, 5L, 7L, 8L, 9L, 15L, 16L, 17L, 31L, 33L, 63L, 64L, 65L, 70L}) {
                Scene scene(oracle, type, 2, columns, EGDA_RASTER_OBJECT, columns % 3, operandsOf(oracle));
                fillOperands(scene, oracle, type, ++seed);
                scene.fillMask(seed);
                const bool masked = seed % 2 == 0;
                expectAsOracle(oracle, runner, scene.picture, scene.dest, scene.sources, masked ? &scene.mask : nullptr,
                               name + ' ' + egda_PixelNameFromType(type) + ' ' + how + " columns " +
                                   std::to_string(columns) + (masked ? " masked" : ""));
            }
        }
    });
}

/* So many elements that they pass in several blocks: matrices, views, constants on each side, folds, in place. */
TEST(Operators, FollowTheirFrame)
{
    unsigned seed = 100;
    forEachOperator([&](const std::string& name, const Oracle& oracle, int type) {
        if (name == "egda_MaoPow" && isComplexType(type)) {
            return;
        }
        const auto runner = byTable(name);
        const std::string what = name + ' ' + egda_PixelNameFromType(type);
        const auto scene = [&](long object, long gap, long operands) {
            const long rows = 3 + 20 / std::max(sizeOfType(type), sizeOfType(oracle.dest(type)));
            Scene made(oracle, type, rows, 203, object, gap, operands);
            fillOperands(made, oracle, type, ++seed);
            made.fillMask(seed);
            return made;
        };
        for (const bool masked : {false, true}) {
            const auto expect = [&](const Scene& s, const char* how) {
                expectAsOracle(oracle, runner, s.picture, s.dest, s.sources, masked ? &s.mask : nullptr,
                               what + ' ' + how + (masked ? " masked" : ""));
            };
            expect(scene(EGDA_MATRIX_OBJECT, 3, operandsOf(oracle)), "matrix");
            expect(scene(EGDA_RASTER_OBJECT, 5, operandsOf(oracle)), "view");
            if (oracle.arity == Arity::fold) {
                expect(scene(EGDA_RASTER_OBJECT, 0, 4), "fold");
            }
            const bool walksSource = name.find("Convert") != std::string::npos;
            for (long i = 0; !walksSource && i < operandsOf(oracle); ++i) {
                Scene constant = scene(EGDA_RASTER_OBJECT, 0, operandsOf(oracle));
                constant.sources[static_cast<std::size_t>(i)].object = EGDA_SCALAR_OBJECT;
                expect(constant, i == 0 ? "constant first" : "constant second");
            }
            for (long i = 0; sizeOfType(type) == sizeOfType(oracle.dest(type)) && i < operandsOf(oracle); ++i) {
                Scene inPlace = scene(EGDA_RASTER_OBJECT, 0, operandsOf(oracle));
                inPlace.dest.offset = inPlace.sources[static_cast<std::size_t>(i)].offset;
                expect(inPlace, "in place");
            }
        }
    });
}

/* Exact operators that read what they have just written: each element follows from those before it. */
TEST(Operators, OverlapAsIfComputedOneAfterTheOther)
{
    for (const char* name : {"egda_MaoAdd", "egda_MaoSub", "egda_SaoInc", "egda_SaoCopy", "egda_MaoEq",
                             "egda_ConvertToS16", "egda_MaoMax"}) {
        const Oracle& oracle = oracles().at(name);
        for (const int type : {EGDA_TYPE_U8, EGDA_TYPE_S16, EGDA_TYPE_S32, EGDA_TYPE_F64}) {
            for (const long shift : {-100L, -16L, -8L, -3L, -1L, 1L, 4L, 9L, 64L, 300L}) {
                for (const bool masked : {false, true}) {
                    Scene scene(oracle, type, 3, 500, EGDA_RASTER_OBJECT, masked ? 2 : 0, operandsOf(oracle));
                    scene.fill(scene.sources[0], [](long n) { return Wide{static_cast<long double>(n % 7), 0}; });
                    if (operandsOf(oracle) == 2) {
                        scene.fill(scene.sources[1], [](long n) { return Wide{static_cast<long double>(n % 3), 0}; });
                    }
                    scene.fillMask(static_cast<unsigned>(shift + 200));
                    const long size = sizeOfType(oracle.dest(type));
                    scene.dest.offset = (scene.sources[0].offset + shift * sizeOfType(type)) / size * size;
                    expectAsOracle(oracle, byTable(name), scene.picture, scene.dest, scene.sources,
                                   masked ? &scene.mask : nullptr,
                                   std::string(name) + ' ' + egda_PixelNameFromType(type) + " shift " +
                                       std::to_string(shift) + (masked ? " masked" : ""));
                }
            }
        }
    }
}

TEST(Operators, AConstantInsideTheDestinationIsReadAgain)
{
    Base row = makeBase(1, 8, EGDA_TYPE_S32);
    auto* values = static_cast<std::int32_t*>(row->data);
    for (int i = 0; i < 8; ++i) {
        values[i] = i + 1;
    }
    Base constant(egda_BaseDataCreate(1, 1, EGDA_TYPE_S32, EGDA_SCALAR_OBJECT, values + 3, nullptr));
    Egda_BaseData* sources[] = {row.get(), constant.get()};
    Report report;
    egda_BaseDataOperation(EGDA_OP_ADD, row.get(), sources, 2, report);
    EXPECT_EQ(report.text(), "");
    EXPECT_EQ(elements<std::int32_t>(*row), (std::vector<std::int32_t>{5, 6, 7, 8, 13, 14, 15, 16}));
}

/* Destinations that no cache holds are written past it. */
/* Fused or not, products that are added round differently. Parts of all sizes, so that much of it cancels. */
TEST(Operators, ComplexNumbersComeOutTheSameBitByBitOnEveryInstructionSet)
{
    for (const auto& [name, oracle] : oracles()) {
        for (const int type : {EGDA_TYPE_C64, EGDA_TYPE_C128}) {
            if (!serves(name, type)) {
                continue;
            }
            constexpr long count = 1003;
            Scene scene(oracle, type, 1, count, EGDA_RASTER_OBJECT, 0, operandsOf(oracle));
            std::mt19937 random(11);
            std::uniform_real_distribution<double> part(-2, 2);
            for (const Place& source : scene.sources) {
                scene.fill(source, [&](long) { return Wide{part(random), part(random) + 1e-2}; });
            }
            std::vector<Picture> pictures;
            for (const InstructionSet set : instructionSets()) {
                Picture& picture = pictures.emplace_back(scene.picture);
                std::vector<Egda_BaseData> records;
                for (const Place& source : scene.sources) {
                    records.push_back(picture.record(source));
                }
                Egda_BaseData dest = picture.record(scene.dest);
                Egda_BaseData* layers[] = {&dest, &records.front(), &records.back()};
                Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}, {1, 1, &layers[2], 0}};
                Egda_BaseDataStack* pointers[] = {&stacks[1], &stacks[2]};
                const Egda_BaseDataStackArray array{static_cast<int32_t>(records.size()), pointers, nullptr};
                Report report;
                withSet(name, set)(type, &stacks[0], &array, report);
                EXPECT_EQ(report.text(), "") << name;
                EXPECT_TRUE(picture == pictures.front()) << name << " type " << type << " set " << pictures.size();
            }
        }
    }
}

/* Sources of every kind: the result is that of one operation after the other. */
TEST(Operators, FoldOfManySourcesIsOneOperationAfterTheOther)
{
    constexpr long rows = 3, columns = 9001, gap = 5;
    for (const char* name : {"egda_MaoAdd", "egda_MaoSub", "egda_MaoMul", "egda_MaoMax", "egda_MaoBitXor"}) {
        const Oracle& oracle = oracles().at(name);
        for (const int type : {EGDA_TYPE_U8, EGDA_TYPE_S16, EGDA_TYPE_F32}) {
            if (oracle.dest(type) != type) {
                continue;
            }
            for (int kind = 0; kind < 6; ++kind) {
                Scene scene(oracle, type, rows, columns, EGDA_RASTER_OBJECT, kind % 2 == 0 ? 0 : gap, 4);
                std::mt19937 random(3);
                for (const Place& source : scene.sources) {
                    scene.fill(source, [&](long) { return Wide{static_cast<long double>(random() % 128), 0}; });
                }
                scene.fillMask(4);
                if (kind >= 2) {
                    scene.sources[2].object = EGDA_SCALAR_OBJECT;
                }
                if (kind == 4) {
                    scene.sources[3].offset = scene.dest.offset; /* what the passes before have made of it */
                } else if (kind == 5) {
                    scene.sources[0].offset = scene.dest.offset;
                }
                Picture picture[2] = {scene.picture, scene.picture};
                for (const bool atOnce : {false, true}) {
                    Egda_BaseData to = picture[atOnce].record(scene.dest);
                    Egda_BaseData mask = picture[atOnce].record(scene.mask);
                    std::vector<Egda_BaseData> records;
                    for (const Place& source : scene.sources) {
                        records.push_back(picture[atOnce].record(source));
                    }
                    Egda_BaseData* layers[] = {&records[0], &records[1], &records[2], &records[3], &to};
                    Egda_BaseDataStack stacks[5] = {};
                    Egda_BaseDataStack* pointers[5] = {};
                    for (int i = 0; i < 5; ++i) {
                        stacks[i] = {1, 1, &layers[i], 0};
                        pointers[i] = &stacks[i];
                    }
                    Report report;
                    const Egda_OperatorTable table = tableByName(name);
                    const auto run = [&](int32_t count, Egda_BaseDataStack** sources) {
                        const Egda_BaseDataStackArray array{count, sources, kind == 3 || kind == 1 ? &mask : nullptr};
                        egda_BaseDataStackFunction(table, &stacks[4], &array, report);
                        EXPECT_EQ(report.text(), "");
                    };
                    run(atOnce ? 4 : 2, pointers);
                    for (int i = 2; i < 4 && !atOnce; ++i) {
                        Egda_BaseDataStack* pair[] = {&stacks[4], pointers[i]};
                        run(2, pair);
                    }
                }
                EXPECT_TRUE(picture[0] == picture[1]) << name << " type " << type << " kind " << kind;
            }
        }
    }
}

TEST(Operators, LargeDestinationsAreWholeToo)
{
    const long columns = static_cast<long>(emantle::platform::lastLevelCacheSize() / 4) + 4099;
    Base a = makeBase(1, columns, EGDA_TYPE_U16);
    for (long i = 0; i < columns; ++i) {
        static_cast<std::uint16_t*>(a->data)[i] = static_cast<std::uint16_t>(i * 7);
    }
    std::vector<std::int32_t> out(static_cast<std::size_t>(columns) + 40, -1);
    for (const long start : {16L, 17L}) {
        Base dest(egda_BaseDataCreate(1, columns, EGDA_TYPE_S32, EGDA_RASTER_OBJECT, out.data() + start, nullptr));
        Egda_BaseData* source = a.get();
        Report report;
        egda_BaseDataOperation(EGDA_OP_CONVERT_TO_S32, dest.get(), &source, 1, report);
        Egda_BaseData* both[] = {dest.get(), dest.get()};
        egda_BaseDataOperation(EGDA_OP_ADD, dest.get(), both, 2, report);
        egda_BaseDataOperation(EGDA_OP_INC, dest.get(), both, 1, report);
        EXPECT_EQ(report.text(), "");
        long wrong = 0;
        for (long i = 0; i < columns; ++i) {
            wrong += out[static_cast<std::size_t>(start + i)] != 2 * (i * 7 & 0xFFFF) + 1;
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(out[static_cast<std::size_t>(start) - 1], -1);
        EXPECT_EQ(out[static_cast<std::size_t>(start + columns)], -1);
        /* A copy, and one over itself by an element. */
        const Base copy = makeBase(1, columns, EGDA_TYPE_S32);
        egda_BaseDataOperation(EGDA_OP_COPY, copy.get(), both, 1, report);
        EXPECT_EQ(std::memcmp(copy->data, dest->data, static_cast<std::size_t>(columns) * 4), 0);
        emsc_AddressOf_epxm_Convert()[EGDA_TYPE_S32][EGDA_TYPE_S32](dest->data, out.data() + start + 1, columns);
        EXPECT_EQ(std::memcmp(copy->data, out.data() + start + 1, static_cast<std::size_t>(columns) * 4), 0);
        std::fill(out.begin(), out.end(), -1);
    }
}

TEST(Operators, FillTakesTheFirstElementOfAnyObject)
{
    const Row source(EGDA_TYPE_F32, std::vector<float>{5, 6});
    const Row dest(EGDA_TYPE_F32, std::vector<float>(5, 1));
    const Row mask(EGDA_TYPE_U8, std::vector<std::uint8_t>{0, 1, 0, 1, 1});
    EXPECT_EQ(operate(EGDA_OP_FILL, dest, {&source}, &mask), "");
    EXPECT_EQ(elements<float>(*dest.base), (std::vector<float>{1, 5, 1, 5, 5}));
}

TEST(Operators, ConversionKeepsToTheExtentOfItsSource)
{
    Base source = makeBase(2, 3, EGDA_TYPE_F32);
    std::fill_n(static_cast<float*>(source->data), 6, 2.7F);
    Base dest = makeBase(3, 5, EGDA_TYPE_U8);
    Egda_BaseData* from = source.get();
    Report report;
    egda_BaseDataOperation(EGDA_OP_CONVERT_TO_U8, dest.get(), &from, 1, report);
    EXPECT_EQ(elements<std::uint8_t>(*dest), (std::vector<std::uint8_t>{2, 2, 2, 0, 0, 2, 2, 2, 0, 0, 0, 0, 0, 0, 0}));
    egda_BaseDataOperation(EGDA_OP_CONVERT_ROUND_TO_U8, dest.get(), &from, 1, report);
    EXPECT_EQ(elements<std::uint8_t>(*dest)[1], 3);
}

TEST(Search, AnyElementOfAnyLayerUnderTheMaskCounts)
{
    Stack stack(egda_BaseDataStackCreate(2, 40, 60, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, nullptr));
    Base flag = makeBase(1, 1, EGDA_TYPE_U8);
    Base mask = makeBase(40, 60, EGDA_TYPE_U8);
    std::memset(mask->data, 1, 2400);
    Egda_BaseDataStack* stacks = stack.get();
    Egda_BaseDataStackArray array{1, &stacks, nullptr};
    Egda_BaseData* to = flag.get();
    Egda_BaseDataStack dest{1, 1, &to, 0};
    const auto found = [&] {
        Report report;
        egda_BaseDataStackFunction(emsc_AddressOf_egda_SaoNotAllZero(), &dest, &array, report);
        EXPECT_EQ(report.text(), "");
        return elements<std::uint8_t>(*flag)[0];
    };
    auto* values = static_cast<double*>(stack->datalayer[1]->data);
    values[0] = -0.0;
    EXPECT_EQ(found(), 0);
    values[2399] = 1e-300;
    EXPECT_EQ(found(), 1);
    array.mask = mask.get();
    EXPECT_EQ(found(), 1);
    static_cast<std::uint8_t*>(mask->data)[2399] = 0;
    EXPECT_EQ(found(), 0);
}

}  // namespace
