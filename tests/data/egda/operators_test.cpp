#include "data/egda/operators_support.h"

namespace {

using namespace operators_test;

constexpr int kSweptTypes[] = {EGDA_TYPE_U1, EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S16, EGDA_TYPE_U32,
                               EGDA_TYPE_S32, EGDA_TYPE_F32, EGDA_TYPE_F64, EGDA_TYPE_C64, EGDA_TYPE_C128};

bool serves(const std::string& name, int type)
{
    return tableByName(name)[EGDA_RASTER_OBJECT][type].routine != egda_NoOperation;
}

Runner withSet(const std::string& name, InstructionSet set)
{
    const Operator* op = operatorsByName().at(name);
    return [=](int type, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err) {
        emantle::runOperator(*op, emantle::loopType(type), dest, sources, err, set);
    };
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

/* At whole quotients and beside them, where a quotient by way of floating numbers is at its limits. */
TEST(Division, QuotientsOf32BitsAreExact)
{
    std::mt19937 random(23);
    constexpr long count = 200003;
    std::vector<std::int32_t> a(count), b(count), out(count);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto divisor = static_cast<std::int32_t>(random()) >> random() % 31;
        b[i] = divisor == 0 ? 1 : divisor;
        const std::int64_t whole = static_cast<std::int32_t>(random()) / b[i];
        a[i] = static_cast<std::int32_t>(whole * b[i] + static_cast<std::int64_t>(random() % 3) - 1);
    }
    a[0] = INT32_MIN, b[0] = -1, a[1] = INT32_MIN, b[1] = 1, a[2] = INT32_MAX, b[2] = 1;
    const auto recordOver = [](void* data, int type) {
        return Base(egda_BaseDataCreate(1, count, type, EGDA_RASTER_OBJECT, data, nullptr));
    };
    for (const int type : {EGDA_TYPE_S32, EGDA_TYPE_U32}) {
        Base records[] = {recordOver(a.data(), type), recordOver(b.data(), type), recordOver(out.data(), type)};
        Egda_BaseData* layers[] = {records[0].get(), records[1].get(), records[2].get()};
        Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}, {1, 1, &layers[2], 0}};
        Egda_BaseDataStack* pointers[] = {&stacks[0], &stacks[1]};
        const Egda_BaseDataStackArray array{2, pointers, nullptr};
        for (const InstructionSet set : instructionSets()) {
            Report report;
            withSet("egda_MaoDiv", set)(type, &stacks[2], &array, report);
            EXPECT_EQ(report.text(), "");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::int64_t wrap = type == EGDA_TYPE_S32 ? 0 : std::int64_t{1} << 32;
                const std::int64_t over = a[i] + (a[i] < 0 ? wrap : 0);
                const std::int64_t by = b[i] + (b[i] < 0 ? wrap : 0);
                ASSERT_EQ(out[i], static_cast<std::int32_t>(over / by)) << a[i] << " / " << b[i];
            }
        }
    }
}

/* Exponents that all are alike take the processor's own roots and products. */
TEST(Operators, PowersOfOneExponentAreAsGoodAsAnyOthers)
{
    std::vector<double> bases(200), exponents(200), out(200);
    for (const double exponent : {2.0, 0.5, -1.0, 1.0, 3.0}) {
        for (std::size_t i = 0; i < bases.size(); ++i) {
            bases[i] = 0.013 + static_cast<double>(i) * 0.37;
            exponents[i] = i == 150 && exponent == 0.5 ? 2.0 : exponent;
        }
        bases[199] = -0.0; /* has the sign of the C library's result */
        const auto recordOver = [](std::vector<double>& values) {
            return Base(egda_BaseDataCreate(1, 200, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, values.data(), nullptr));
        };
        const Base base = recordOver(bases), by = recordOver(exponents), dest = recordOver(out);
        Egda_BaseData* sources[] = {base.get(), by.get()};
        egda_BaseDataOperation(EGDA_OP_POW, dest.get(), sources, 2, nullptr);
        for (std::size_t i = 0; i < bases.size(); ++i) {
            const double exact = static_cast<double>(
                std::pow(static_cast<long double>(bases[i]), static_cast<long double>(exponents[i])));
            EXPECT_DOUBLE_EQ(out[i], exact) << bases[i];
            EXPECT_EQ(std::signbit(out[i]), std::signbit(exact)) << exponent;
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
        std::fill(out.begin(), out.end(), -1);
    }
}

struct Row {
    Base base;
    template <class T>
    Row(int type, std::vector<T> values, long object = EGDA_RASTER_OBJECT)
        : base(makeBase(1, static_cast<long>(values.size()), type, object))
    {
        std::memcpy(base->data, values.data(), values.size() * sizeof(T));
    }
};

std::string operate(long op, const Row& dest, std::vector<const Row*> operands, const Row* mask = nullptr)
{
    std::vector<Egda_BaseData*> layers;
    for (const Row* operand : operands) {
        layers.push_back(operand->base.get());
    }
    std::vector<Egda_BaseDataStack> stacks;
    std::vector<Egda_BaseDataStack*> pointers;
    for (Egda_BaseData*& layer : layers) {
        stacks.push_back({1, 1, &layer, 0});
    }
    for (Egda_BaseDataStack& stack : stacks) {
        pointers.push_back(&stack);
    }
    Egda_BaseData* destLayer = dest.base.get();
    Egda_BaseDataStack destStack{1, 1, &destLayer, 0};
    const Egda_BaseDataStackArray array{static_cast<int32_t>(stacks.size()), pointers.data(),
                                        mask == nullptr ? nullptr : mask->base.get()};
    Report report;
    egda_BaseDataStackOperation(op, &destStack, &array, report);
    return report.text();
}

const char* const kDivided = "egda_BaseDataStackOperation 2 - | EGDA_Div 6 Divided by zero";

TEST(Division, StopsAtTheFirstZeroWithAllBeforeItWritten)
{
    for (const long op : {EGDA_OP_DIV, EGDA_OP_REM}) {
        for (const long at : {0L, 1L, 63L, 64L, 700L, 1999L}) {
            std::vector<std::int32_t> divisors(2000, 3);
            divisors[static_cast<std::size_t>(at)] = 0;
            const Row a(EGDA_TYPE_S32, std::vector<std::int32_t>(2000, 10));
            const Row b(EGDA_TYPE_S32, divisors);
            const Row dest(EGDA_TYPE_S32, std::vector<std::int32_t>(2000, -7));
            EXPECT_EQ(operate(op, dest, {&a, &b}), kDivided);
            const auto values = elements<std::int32_t>(*dest.base);
            EXPECT_EQ(std::count(values.begin(), values.begin() + at, op == EGDA_OP_DIV ? 3 : 1), at);
            EXPECT_EQ(std::count(values.begin() + at, values.end(), -7), 2000 - at);
        }
    }
}

TEST(Division, ZerosOutsideTheMaskAreNoDivisors)
{
    const Row a(EGDA_TYPE_U8, std::vector<std::uint8_t>{10, 20, 30, 40});
    const Row b(EGDA_TYPE_U8, std::vector<std::uint8_t>{2, 0, 5, 0});
    const Row mask(EGDA_TYPE_U8, std::vector<std::uint8_t>{1, 0, 9, 0});
    const Row all(EGDA_TYPE_U8, std::vector<std::uint8_t>{1, 0, 9, 9});
    const Row dest(EGDA_TYPE_U8, std::vector<std::uint8_t>{7, 7, 7, 7});
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}, &mask), "");
    EXPECT_EQ(elements<std::uint8_t>(*dest.base), (std::vector<std::uint8_t>{5, 7, 6, 7}));
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}, &all), kDivided);
    EXPECT_EQ(elements<std::uint8_t>(*dest.base), (std::vector<std::uint8_t>{5, 7, 6, 7}));
}

TEST(Division, AComplexDivisorNearZeroStopsAndAFloatingOneDoesNot)
{
    const Row a(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{4, 2}, {1, 1}});
    const Row b(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{2, 0}, {0.003F, 0.0005F}});
    const Row dest(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{9, 9}, {9, 9}});
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}), kDivided);
    const auto values = elements<Egda_Complex64>(*dest.base);
    EXPECT_EQ(values[0].real, 2);
    EXPECT_EQ(values[0].imaginary, 1);
    EXPECT_EQ(values[1].real, 9);
    const Row x(EGDA_TYPE_F32, std::vector<float>{1, -1});
    const Row zero(EGDA_TYPE_F32, std::vector<float>{0, 0});
    EXPECT_EQ(operate(EGDA_OP_DIV, x, {&x, &zero}), "");
    EXPECT_EQ(elements<float>(*x.base), (std::vector<float>{HUGE_VALF, -HUGE_VALF}));
}

TEST(Operators, AComplexPowerReadsItsExponentsAsARunOfDoubles)
{
    const Row a(EGDA_TYPE_C128, std::vector<Egda_Complex128>{{0, 2}, {3, 0}});
    const Row b(EGDA_TYPE_C128, std::vector<Egda_Complex128>{{2, 0.5}, {99, 99}});
    const Row dest(EGDA_TYPE_C128, std::vector<Egda_Complex128>(2));
    EXPECT_EQ(operate(EGDA_OP_POW, dest, {&a, &b}), "");
    const auto values = elements<Egda_Complex128>(*dest.base);
    EXPECT_NEAR(values[0].real, -4, 1e-14);
    EXPECT_NEAR(values[0].imaginary, 0, 1e-14);
    EXPECT_NEAR(values[1].real, std::sqrt(3.0), 1e-15);
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

/* Heap texts, as records of strings own them. */
struct Texts {
    Base base;
    explicit Texts(const std::vector<const char*>& texts)
        : base(makeBase(1, static_cast<long>(texts.size()), EGDA_TYPE_STRING))
    {
        egda_BaseDataSet(base.get(), texts.data(), EGDA_SET_ALL, 0, nullptr);
    }
    std::vector<std::string> values() const
    {
        std::vector<std::string> all;
        for (const char* text : elements<const char*>(*base)) {
            all.emplace_back(text == nullptr ? "(null)" : text);
        }
        return all;
    }
};

TEST(Texts, CompareBySign)
{
    const Texts a({"b", "b", "b"});
    const Texts b({"a", "b", "c"});
    struct Case {
        long op;
        std::vector<std::uint8_t> expected;
    };
    for (const Case& c : {Case{EGDA_OP_EQ, {0, 1, 0}}, Case{EGDA_OP_NE, {1, 0, 1}}, Case{EGDA_OP_GT, {1, 0, 0}},
                          Case{EGDA_OP_GE, {1, 1, 0}}, Case{EGDA_OP_LT, {0, 0, 1}}, Case{EGDA_OP_LE, {0, 1, 1}}}) {
        Base dest = makeBase(1, 3, EGDA_TYPE_U8);
        Egda_BaseData* sources[] = {a.base.get(), b.base.get()};
        Report report;
        egda_BaseDataOperation(c.op, dest.get(), sources, 2, report);
        EXPECT_EQ(report.text(), "");
        EXPECT_EQ(elements<std::uint8_t>(*dest), c.expected) << c.op;
    }
}

TEST(Texts, AreCopiedAndFilledUnderAMask)
{
    const Texts source({"one", "two", "three"});
    const Texts dest({"x", "y", "z"});
    Base mask = makeBase(1, 3, EGDA_TYPE_U8);
    static_cast<std::uint8_t*>(mask->data)[1] = 1;
    Egda_BaseData* from = source.base.get();
    Egda_BaseDataStack stack{1, 1, &from, 0};
    Egda_BaseDataStack* stacks = &stack;
    Egda_BaseDataStackArray array{1, &stacks, mask.get()};
    Egda_BaseData* to = dest.base.get();
    Egda_BaseDataStack destStack{1, 1, &to, 0};
    Report report;
    egda_BaseDataStackOperation(EGDA_OP_COPY, &destStack, &array, report);
    EXPECT_EQ(dest.values(), (std::vector<std::string>{"x", "two", "z"}));
    array.mask = nullptr;
    egda_BaseDataStackOperation(EGDA_OP_FILL, &destStack, &array, report);
    EXPECT_EQ(dest.values(), (std::vector<std::string>{"one", "one", "one"}));
    EXPECT_EQ(source.values(), (std::vector<std::string>{"one", "two", "three"}));
    egda_BaseDataStackOperation(EGDA_OP_COPY, &destStack, &array, report);
    EXPECT_EQ(dest.values(), source.values());
}

TEST(Forms, ComplexNumbersOfTwoParts)
{
    const Row real(EGDA_TYPE_S16, std::vector<std::int16_t>{1, -2});
    const Row imaginary(EGDA_TYPE_S16, std::vector<std::int16_t>{3, 4});
    const Row narrow(EGDA_TYPE_C64, std::vector<Egda_Complex64>(2));
    const Row wide(EGDA_TYPE_C128, std::vector<Egda_Complex128>(2));
    for (const Row* dest : {&narrow, &wide}) {
        Egda_BaseData* layers[] = {real.base.get(), imaginary.base.get(), dest->base.get()};
        Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}, {1, 1, &layers[2], 0}};
        Egda_BaseDataStack* sources[] = {&stacks[0], &stacks[1]};
        const Egda_BaseDataStackArray array{2, sources, nullptr};
        Report report;
        egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoFormComplex(), &stacks[2], &array, report);
        EXPECT_EQ(report.text(), "");
    }
    EXPECT_EQ(elements<Egda_Complex64>(*narrow.base)[1].real, -2);
    EXPECT_EQ(elements<Egda_Complex64>(*narrow.base)[1].imaginary, 4);
    EXPECT_EQ(elements<Egda_Complex128>(*wide.base)[0].imaginary, 3);
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
