#include "data/data_support.h"
#include "files/scratch.h"
#include "platform/faults.h"

#include <emantle/data/epxm/convert.h>

#include <cstring>
#include <filesystem>


namespace {

using namespace emantle::platform;

class Ascii : public Scratch {
protected:
    Stack create(const std::string& text, Egda_PixelType type, long rows = 0, long columns = 0, long layers = 0,
                 long object = EGDA_MATRIX_OBJECT)
    {
        put("in", text);
        return Stack(egda_CreateBaseDataStackFromAscii(object, type, rows, columns, layers, path("in").c_str(), report_));
    }

    std::string written(const Egda_BaseDataStack& stack)
    {
        egda_BaseDataStackWriteAscii(&stack, path("out").c_str(), report_);
        EXPECT_EQ(report_.text(), "");
        return contents("out");
    }

    Report report_;
};

std::string shape(const Stack& stack)
{
    return stack == nullptr ? "none"
                            : std::to_string(stack->datalayer[0]->numrows) + 'x' +
                                  std::to_string(stack->datalayer[0]->numcolumns) + 'x' +
                                  std::to_string(stack->numlayers);
}

template <class T>
std::vector<T> valuesOf(const Stack& stack, int layer = 0)
{
    return stack == nullptr ? std::vector<T>{} : elements<T>(*stack->datalayer[layer]);
}

TEST_F(Ascii, EveryTypeReadsBackWhatWasWritten)
{
    const double limits[] = {0, 1, -1, 3.25, -1e30, 1e300, 0.1, 4294967295.0};
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        const Stack stack(egda_BaseDataStackCreate(2, 2, 2, type, EGDA_MATRIX_OBJECT, report_));
        for (long i = 0; i < 8; ++i) {
            Egda_BaseData* layer = stack->datalayer[i % 2];
            Egda_Complex128 value{limits[i], -limits[7 - i]};
            emsc_AddressOf_epxm_Convert()[type >= EGDA_TYPE_C64 ? EGDA_TYPE_C128 : EGDA_TYPE_F64][type](
                &value, static_cast<char*>(layer->data) + i / 2 * layer->numbytes, 1);
        }
        const std::string text = written(*stack);
        const Stack counted = create(text, type, 0, 0, 2);
        ASSERT_EQ(shape(counted), "2x2x2") << egda_PixelNameFromType(type) << ' ' << report_.text();
        const Stack zeros(egda_BaseDataStackCreate(2, 2, 2, type, EGDA_MATRIX_OBJECT, nullptr));
        egda_BaseDataStackReadAscii(zeros.get(), path("out").c_str(), report_);
        EXPECT_EQ(report_.text(), "");
        for (const Stack* back : {&counted, &zeros}) {
            for (int layer = 0; layer < 2; ++layer) {
                const Egda_BaseData* first = stack->datalayer[layer];
                EXPECT_EQ(std::memcmp(first->data, (*back)->datalayer[layer]->data,
                                      static_cast<std::size_t>(4 * first->numbytes)), 0)
                    << egda_PixelNameFromType(type) << '\n' << text;
            }
        }
    }
}

TEST_F(Ascii, ElementsStandRowByRowWithTheLayersOfAColumnTogether)
{
    const Stack numbers = create("1 10 2 20\n3 30 4 40\n", EGDA_TYPE_U16, 0, 0, 2);
    ASSERT_EQ(shape(numbers), "2x2x2");
    EXPECT_EQ(valuesOf<std::uint16_t>(numbers, 1), (std::vector<std::uint16_t>{10, 20, 30, 40}));
    EXPECT_EQ(written(*numbers), "1 10 2 20\n3 30 4 40\n");
    EXPECT_EQ(written(*create("1.5 -inf\n1e-300 0.1\n", EGDA_TYPE_F64)), "1.5 -inf\n1e-300 0.1\n");
    EXPECT_EQ(written(*create("(1, 2) (0.25, nan)\n", EGDA_TYPE_C128)), "(1, 2) (0.25, nan)\n");
    EXPECT_EQ(written(*create("4294967295\n7\n", EGDA_TYPE_U32)), "-1\n7\n"); /* as "%d" shows the upper half */
}

TEST_F(Ascii, ARasterKeepsItsFileThoughItsColumnsAreWalkedByPitch)
{
    const Stack square = create("1 2\n3 4\n", EGDA_TYPE_U8, 0, 0, 0, EGDA_RASTER_OBJECT);
    EXPECT_EQ(valuesOf<std::uint8_t>(square), (std::vector<std::uint8_t>{1, 3, 2, 4}));
    EXPECT_EQ(written(*square), "1 2\n3 4\n");
    const Stack slack = create("1 2 3\n4 5 6\n", EGDA_TYPE_U8, 0, 0, 0, EGDA_RASTER_OBJECT);
    EXPECT_EQ(shape(slack), "2x3x1"); /* its last element lies in the room behind the rows */
    EXPECT_EQ(create("1 2 3 4\n", EGDA_TYPE_U8, 0, 0, 0, EGDA_RASTER_OBJECT), nullptr);
    const Base whole = numbered(4, 4);
    Egda_BaseData* view = egda_BaseDataDerived(whole.get(), 3, 1, 1, 3, nullptr);
    const Stack borrowed(egda_BaseDataStackPtrCreate(1, nullptr));
    borrowed->datalayer[0] = view;
    egda_BaseDataStackWriteAscii(borrowed.get(), path("view").c_str(), report_);
    EXPECT_EQ(report_.text(), "egda_BaseDataStackWriteAscii 2 Write error | "
                              "egda_WriteElementToAscii 1 Write error writing to ASCII file");
}

TEST_F(Ascii, NumbersAreLimitedOrWrapAsTheirFormatsDo)
{
    const struct {
        Egda_PixelType type;
        const char* text;
        std::vector<int> bytes;
    } cases[] = {
        {EGDA_TYPE_U1, "0 1 2 65535", {0, 1, 1, 1}},
        {EGDA_TYPE_U2, "3 4", {3, 3}},
        {EGDA_TYPE_U4, "15 16", {15, 15}},
        {EGDA_TYPE_U8, "255 256 -1 +7", {255, 255, 255, 7}},
        {EGDA_TYPE_S8, "-127 -128 -300 127 128", {-127 & 255, 128, 128, 127, 127}},
    };
    for (const auto& test : cases) {
        const Stack stack = create(std::string(test.text) + '\n', test.type);
        const auto bytes = valuesOf<std::uint8_t>(stack);
        EXPECT_EQ(std::vector<int>(bytes.begin(), bytes.end()), test.bytes) << test.text;
    }
    EXPECT_EQ(valuesOf<std::int16_t>(create("32768 -1\n", EGDA_TYPE_S16)), (std::vector<std::int16_t>{-32768, -1}));
    EXPECT_EQ(valuesOf<std::uint32_t>(create("-1 4294967296\n", EGDA_TYPE_U32)),
              (std::vector<std::uint32_t>{0xFFFFFFFF, 0}));
    EXPECT_EQ(valuesOf<float>(create("1 2e0 .5 -3.\n", EGDA_TYPE_F32)), (std::vector<float>{1, 2, 0.5, -3}));
}

TEST_F(Ascii, TheMissingCountsComeFromTheFile)
{
    EXPECT_EQ(shape(create("1 2 3\n4 5 6\n", EGDA_TYPE_S32)), "2x3x1");
    EXPECT_EQ(shape(create("1 2 3 4\n", EGDA_TYPE_S32, 0, 2)), "1x2x2");
    EXPECT_EQ(shape(create("1 2\n3 4", EGDA_TYPE_S32)), "1x2x1"); /* the last line has no line feed */
    EXPECT_EQ(shape(create("1 2\n3 4", EGDA_TYPE_S32, 2)), "2x2x1");
    EXPECT_EQ(shape(create("1 2 3\n", EGDA_TYPE_S32, 0, 0, 0, EGDA_TABLE_OBJECT)), "1x1x3");
    EXPECT_EQ(shape(create("1\n2\n", EGDA_TYPE_S32, 0, 7, 1, EGDA_TABLE_OBJECT)), "2x1x1");
}

TEST_F(Ascii, StringsAreLines)
{
    const Stack strings = create("one\n\ntwo words\n" + std::string(3000, 'x') + "\n", EGDA_TYPE_STRING);
    ASSERT_EQ(shape(strings), "4x1x1");
    const auto lines = valuesOf<const char*>(strings);
    EXPECT_STREQ(lines[0], "one");
    EXPECT_STREQ(lines[1], "");
    EXPECT_STREQ(lines[2], "two words");
    EXPECT_EQ(std::string(lines[3]), std::string(2047, 'x'));
    EXPECT_EQ(written(*strings), "one\n\ntwo words\n" + std::string(2047, 'x') + "\n");
}

TEST_F(Ascii, DamagedFilesAreToldByTheirReports)
{
    const std::string create2 = "egda_CreateBaseDataStackFromAscii 2 Error reading ASCII file";
    const std::string element =
        create2 + " | egda_BaseDataStackReadAsciiFile 2 Read error | egda_ReadElementFromAscii ";
    const std::string create1 = "egda_CreateBaseDataStackFromAscii 1 ";
    const struct {
        std::string text;
        Egda_PixelType type;
        long rows, columns, layers;
        std::string report;
    } cases[] = {
        {"1 2\n3\n", EGDA_TYPE_U8, 0, 0, 0, element + "1 Error reading ASCII file"},
        {"1 2\n3 x\n", EGDA_TYPE_F64, 0, 0, 0, element + "1 Error reading ASCII file"},
        {"(1, 2)\n(3 4)\n", EGDA_TYPE_C64, 0, 0, 0, element + "2 Error reading ASCII file"},
        {"one\n", EGDA_TYPE_STRING, 2, 0, 0, element + "3 Error reading ASCII file"},
        {std::string(600, '7') + "\n", EGDA_TYPE_F64, 1, 1, 1, element + "1 Error reading ASCII file"},
        {"99999999999999999999\n", EGDA_TYPE_U8, 1, 1, 1, element + "1 Error reading ASCII file"},
        {"1e39\n", EGDA_TYPE_F32, 1, 1, 1, element + "1 Error reading ASCII file"},
        {"1 2 3\n", EGDA_TYPE_U8, 0, 2, 0, create1 + "ASCII file column count mismatch"},
        {"1 2 3\n", EGDA_TYPE_U8, 0, -3, 0, create1 + "ASCII file column count mismatch"},
        {"", EGDA_TYPE_U8, 1, 0, 0, create1 + "efio_Fgets failed"},
        {"1\n", 14, 1, 1, 1, create1 + "Unable to create base data stack"},
        {"(1, 2) (3, )\n", EGDA_TYPE_C64, 0, 0, 0,
         "egda_CreateBaseDataStackFromAscii 2 Error reading ASCII record | egda_CountElements 1 Error reading complex"},
        {"1\n", EGDA_TYPE_F64, 1 << 15, 1 << 15, 1, create2},
        {"1\n", EGDA_TYPE_F64, 1, 1, 1L << 31, create2},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(create(test.text, test.type, test.rows, test.columns, test.layers), nullptr) << test.text;
        EXPECT_EQ(report_.text(), test.report) << test.text;
    }
    for (const char* text : {"no line feed", "\n\n", "1"}) {
        EXPECT_EQ(create(text, EGDA_TYPE_U8), nullptr) << text;
        EXPECT_EQ(report_.text().substr(0, 68), create1 + "Unable to create base data stack") << text;
    }
    EXPECT_EQ(create(std::string("\x00\xFF\x80\x01", 4), EGDA_TYPE_F32, 1, 1, 1), nullptr);
    EXPECT_EQ(shape(create(std::string(1 << 20, '\t') + "5\n", EGDA_TYPE_U8)), "1x1x1");
}

TEST_F(Ascii, FailuresOfTheFileAreToldByTheStepThatMetThem)
{
    EXPECT_EQ(egda_CreateBaseDataStackFromAscii(2, EGDA_TYPE_U8, 1, 1, 1, path("none").c_str(), report_), nullptr);
    EXPECT_EQ(report_.text().substr(0, 56), "egda_CreateBaseDataStackFromAscii 1 Error opening file |");
    put("in", "1 2\n");
    const auto failingRead = [&](std::uint64_t nth, long rows) {
        const FaultInjection fault(Operation::read, nth, Outcome::inputOutput(), Repeat::once, "in");
        EXPECT_EQ(egda_CreateBaseDataStackFromAscii(2, EGDA_TYPE_U8, rows, rows, 1, path("in").c_str(), report_),
                  nullptr);
        return report_.text().substr(0, report_.text().find(" |"));
    };
    EXPECT_EQ(failingRead(1, 0), "egda_CreateBaseDataStackFromAscii 1 efio_Fgetc failed");
    EXPECT_EQ(failingRead(1, 1), "egda_CreateBaseDataStackFromAscii 2 Error reading ASCII file");
    const Stack stack(egda_BaseDataStackCreate(1, 1, 2, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT, nullptr));
    const FaultInjection full(Operation::write, 1, Outcome::noSpace(), Repeat::fromThenOn, "out");
    egda_BaseDataStackWriteAscii(stack.get(), path("out").c_str(), report_);
    EXPECT_EQ(report_.text().substr(0, 44), "egda_BaseDataStackWriteAscii 5 Write error |");
}

TEST_F(Ascii, AReportAlreadyPresentStopsWriterAndReader)
{
    put("in", "7\n");
    const Stack stack(egda_BaseDataStackCreate(1, 1, 1, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT, nullptr));
    Report present;
    egda_BaseDataCopy(nullptr, nullptr, present);
    Eerr_ErrorReport* chain = const_cast<Eerr_ErrorReport*>(present.get());
    egda_BaseDataStackReadAscii(stack.get(), path("in").c_str(), &chain);
    egda_BaseDataStackWriteAscii(stack.get(), path("out").c_str(), &chain);
    EXPECT_EQ(chain, present.get());
    EXPECT_EQ(valuesOf<std::uint8_t>(stack), std::vector<std::uint8_t>{0});
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST(Print, ShowsTheFieldsAndTheElementsLineByLine)
{
    const Stack stack(egda_BaseDataStackCreate(1, 2, 2, EGDA_TYPE_S8, EGDA_MATRIX_OBJECT, nullptr));
    const std::int8_t values[] = {1, -2, 3, 4};
    egda_BaseDataSet(stack->datalayer[0], values, EGDA_SET_ALL, 0, nullptr);
    testing::internal::CaptureStdout();
    egda_BaseDataStackPrint(stack.get(), nullptr);
    const Base complex = makeBase(1, 1, EGDA_TYPE_C64, EGDA_SCALAR_OBJECT);
    egda_BaseDataPrint(complex.get(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " ----------------- BaseDataStack ------------------- \n"
              "                    NUMLAYERS   =   1\n"
              "   No. 0   Layers \n"
              "            ==============  BaseData ===============\n\n"
              "     numelements = 4  \n     numrows     = 2  \n     numcolumns  = 2  \n     numbytes    = 1  \n"
              "     datatype    = 4  \n     objecttype  = 2  \n     derivedFlag  = 0  \n\n"
              "1 -2 \n3 4 \n\n"
              "            ==============  BaseData ===============\n\n"
              "     numelements = 1  \n     numrows     = 1  \n     numcolumns  = 1  \n     numbytes    = 8  \n"
              "     datatype    = 11  \n     objecttype  = 0  \n     derivedFlag  = 0  \n\n"
              "(0.000000e+00, 0.000000e+00)\n\n");
}

}  // namespace
