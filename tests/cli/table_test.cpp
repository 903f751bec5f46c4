#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"
#include "store/new_store.h"

#include <emantle/data/egda.h>
#include <emantle/tables/edsc.h>

#include <gmock/gmock.h>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

using Rows = std::vector<std::vector<std::string>>;

/* Reads what the standard of such files says, and nothing more lenient. */
Rows parseCsv(const std::string& text)
{
    Rows rows;
    std::vector<std::string> row;
    for (std::size_t i = 0; i < text.size();) {
        std::string field;
        if (text[i] == '"') {
            for (++i; text.at(i) != '"' || text.at(i + 1) == '"'; ++i) {
                i += text[i] == '"' ? 1 : 0;
                field += text[i];
            }
            ++i;
        } else {
            for (; text.at(i) != ',' && text[i] != '\r'; ++i) {
                EXPECT_EQ(std::string("\"\n").find(text[i]), std::string::npos);
                field += text[i];
            }
        }
        row.push_back(field);
        if (text.at(i) == ',') {
            ++i;
        } else {
            EXPECT_EQ(text.substr(i, 2), "\r\n");
            i += 2;
            rows.push_back(row);
            row.clear();
        }
    }
    EXPECT_TRUE(row.empty());
    return rows;
}

/* A table of every type of column, in a store of its own. */
class TableVerb : public testing::Test {
protected:
    TableVerb()
    {
        tool::NewStore store(path_, false);
        Edsc_TableInstance* table =
            edsc_TableCreate(store.get(), ":", "Legend", EHFA_WRITE_LAST_CHILD, 3, nullptr, nullptr, nullptr);
        add<std::int32_t>(table, "code", EGDA_TYPE_S32, {-2147483647, 0, 7});
        add<double>(table, "width, \"m\"", EGDA_TYPE_F64, {0.1, -1e300, 1 / 3.});
        add<Egda_Complex128>(table, "z", EGDA_TYPE_C128, {{1, -2}, {0.5, 0}, {-0., 3}});
        edsc_ColumnClose(edsc_ColumnCreate(table, "name", 3, nullptr, 40, nullptr), nullptr);
        Edsc_ColumnInstance* names = edsc_ColumnOpen(table, "name", nullptr, nullptr);
        Egda_BaseData* texts = egda_TableCreate(3, EGDA_TYPE_STRING, nullptr);
        for (std::size_t i = 0; i < names_.size(); ++i) {
            static_cast<char**>(texts->data)[i] = names_[i].data();
        }
        edsc_ColumnWrite(names, 0, 3, texts, nullptr);
        std::fill_n(static_cast<char**>(texts->data), 3, nullptr);
        egda_BaseDataDelete(texts, nullptr);
        edsc_ColumnClose(names, nullptr);
        edsc_TableClose(table, nullptr);
        store.commit();
    }

    template <class T>
    static void add(Edsc_TableInstance* table, const char* name, Egda_PixelType type, std::vector<T> values)
    {
        Edsc_ColumnInstance* column = edsc_ColumnCreate(table, name, type == EGDA_TYPE_S32 ? 0 : type == EGDA_TYPE_F64 ? 1 : 2,
                                                        nullptr, nullptr);
        Egda_BaseData* data = egda_TableCreate(static_cast<long>(values.size()), type, nullptr);
        std::copy(values.begin(), values.end(), static_cast<T*>(data->data));
        edsc_ColumnWrite(column, 0, static_cast<std::int32_t>(values.size()), data, nullptr);
        egda_BaseDataDelete(data, nullptr);
        edsc_ColumnClose(column, nullptr);
    }

    const ScratchDirectory scratch_;
    const std::string path_ = scratch_ / "legend.img";
    std::vector<std::string> names_{"say \"hi\", twice", "two\r\nlines", "\xc3\xa9t\xc3\xa9"};
};

TEST_F(TableVerb, CommaSeparatedValuesComeBackExactly)
{
    const Outcome outcome = run({"table", path_, ":Legend", "--csv"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Rows rows = parseCsv(outcome.out);
    ASSERT_EQ(rows.size(), 4U);
    const auto place = [&](const std::string& name) {
        return static_cast<std::size_t>(std::find(rows[0].begin(), rows[0].end(), name) - rows[0].begin());
    };
    ASSERT_EQ(rows[0].size(), 7U) << "the row, its limits and four columns";
    EXPECT_EQ(rows[0][0], "row");
    EXPECT_EQ(rows[1][place("code")], "-2147483647");
    EXPECT_EQ(rows[2][place("width, \"m\"")], "-1e+300");
    EXPECT_EQ(std::stod(rows[3][place("width, \"m\"")]), 1 / 3.);
    EXPECT_EQ(rows[1][place("z")], "1-2i");
    EXPECT_EQ(rows[2][place("z")], "0.5+0i");
    for (std::size_t i = 0; i < names_.size(); ++i) {
        EXPECT_EQ(rows[i + 1][place("name")], names_[i]);
    }
}

TEST_F(TableVerb, AlignedTextKeepsToOneLineARow)
{
    const Outcome outcome = run({"table", path_, "Legend"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 4);
    EXPECT_THAT(outcome.out, HasSubstr("two lines"));
    EXPECT_EQ(outcome.out.find('\r'), std::string::npos);
}

TEST_F(TableVerb, OfALayerOfItselfAndOfAColumnIsTheSame)
{
    writeTiff(scratch_ / "scene.tif", makeRaster(20, 20, 1, 4, SAMPLEFORMAT_UINT, [](auto, auto x, auto) { return x % 5; }));
    ASSERT_EQ(run({"describe", scratch_ / "scene.tif", "-o", scratch_ / "scene.img"}).status, 0);
    const std::string store = scratch_ / "scene.img";
    const Rows rows = parseCsv(run({"table", store, ":scene:Layer_1", "--csv"}).out);
    EXPECT_THAT(rows.at(0), ElementsAre("row", "from", "below", "Histogram"));
    EXPECT_THAT(rows.at(5), ElementsAre("4", "4", "5", "80"));
    EXPECT_EQ(rows.size(), 17U);
    for (const char* node : {":scene:Layer_1:Descriptor_Table", ":scene:Layer_1:Descriptor_Table:Histogram"}) {
        EXPECT_EQ(parseCsv(run({"table", store, node, "--csv"}).out), rows) << node;
    }
    const json table = run({"table", store, ":scene:Layer_1", "--json"}).json()["table"];
    EXPECT_EQ(table["columns"][0]["values"][4], 80);

    const Outcome none = run({"table", store, ":scene"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err, "emantle: " + store + ": :scene is no table and has none\n");
    EXPECT_EQ(run({"table", store, ":scene:Layer_1", "--csv", "--json"}).status, 2);
}

/* An image of 16 colours, pixels of 4 bits; `full` is the value of a full colour. */
void writePalette(const std::string& path, std::uint16_t full)
{
    std::uint16_t red[16];
    std::uint16_t green[16];
    std::uint16_t blue[16];
    for (std::uint16_t i = 0; i < 16; ++i) {
        red[i] = static_cast<std::uint16_t>(full / 15 * i);
        green[i] = static_cast<std::uint16_t>(i == 3 ? full : 0);
        blue[i] = static_cast<std::uint16_t>(full - red[i]);
    }
    TIFF* file = TIFFOpen(path.c_str(), "w");
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, 16);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 4);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
    TIFFSetField(file, TIFFTAG_COLORMAP, red, green, blue);
    std::uint8_t pixels[8] = {0x00, 0x23, 0x35, 0x55, 0xff, 0xf0, 0x00, 0x00};
    TIFFWriteEncodedStrip(file, 0, pixels, sizeof pixels);
    TIFFClose(file);
}

std::vector<double> columnOf(const json& table, const std::string& name)
{
    for (const json& column : table["columns"]) {
        if (column["name"] == name) {
            return column["values"];
        }
    }
    return {};
}

/* Colours of 16 bits, and of 8 as some writers have them; a bin for each value, and one for each that occurs. */
TEST(DescribeColours, BecomeColumnsFromNoneToFull)
{
    const ScratchDirectory scratch;
    for (const std::uint16_t full : {65535, 255}) {
        for (const char* bins : {"direct", "unique"}) {
            SCOPED_TRACE(std::to_string(full) + " in " + bins);
            writePalette(scratch / "map.tif", full);
            const Outcome described =
                run({"describe", scratch / "map.tif", "-o", scratch / "map.img", "--bins", bins, "--force"});
            ASSERT_EQ(described.status, 0) << described.err;
            EXPECT_EQ(described.err, "");
            const json table = run({"table", scratch / "map.img", ":map:Layer_1", "--json"}).json()["table"];
            const std::vector<double> red = columnOf(table, "Red");
            const std::vector<double> green = columnOf(table, "Green");
            const std::vector<double> blue = columnOf(table, "Blue");
            ASSERT_EQ(red.size(), std::string(bins) == "direct" ? 16U : 5U);
            ASSERT_EQ(blue.size(), red.size());
            for (std::size_t i = 0; i < red.size(); ++i) {
                const double value = table["bins"]["limits"][i][0];
                EXPECT_DOUBLE_EQ(red[i], value / 15);
                EXPECT_EQ(green[i], value == 3 ? 1 : 0);
                EXPECT_DOUBLE_EQ(blue[i], 1 - value / 15);
            }
        }
    }
    const Outcome linear = run({"describe", scratch / "map.tif", "--bins", "linear:4"});
    EXPECT_EQ(linear.status, 0);
    EXPECT_THAT(linear.err, HasSubstr("its colours are left out"));
}

}  // namespace
