#include "support.h"

#include "platform/faults.h"
#include "store/mif/stream.h"

#include <emantle/data/egda.h>
#include <emantle/files/efio.h>
#include <fstream>
#include <limits>
#include <numeric>
#include <unistd.h>

namespace {

using namespace mif_test;
using ::testing::HasSubstr;

Bytes written(const void* object, const Emif_Design& design)
{
    Bytes bytes(static_cast<std::size_t>(emif_ObjectSize(object, &design, nullptr)));
    EXPECT_EQ(emif_ConvertToMIF(nullptr, object, &design, bytes.data(), nullptr), static_cast<long>(bytes.size()));
    return bytes;
}

/* "" when the bytes are read to their end. */
std::string readInto(void* object, const Emif_Design& design, const Bytes& bytes)
{
    Report report;
    emantle::guarded(report, "test", [&](EerrException& scope) {
        EXPECT_EQ(emantle::mif::convertToHost(scope, bytes, design, object), bytes.size());
    });
    return report.text();
}

Efio_File* fileOf(const Bytes& bytes)
{
    Efio_File* file = efio_TmpFile(nullptr);
    efio_WriteSeq(file, bytes.data(), static_cast<long>(bytes.size()), nullptr);
    efio_Seek(file, 0, EFIO_SEEK_SET, nullptr);
    return file;
}

Egda_BaseData* baseData(long rows, long columns, Egda_PixelType type, long object)
{
    return egda_BaseDataCreate(rows, columns, type, object, nullptr, nullptr);
}

struct Simple {
    std::uint8_t bits[10];
    std::uint8_t pairs[3];
    std::uint8_t nibbles[3];
    std::int32_t kind[2];
    char text[4];
    std::int16_t s;
    std::uint32_t L;
    Emif_Complex m;
    double t;
    std::int32_t i;
};
constexpr const char* kSimple = "{10:1bits,3:2pairs,3:4nibbles,2:e2:a,b,kind,4:ctext,1:ss,1:LL,1:mm,1:tt,1:ii,}Simple,";

const Bytes kSimpleBytes{
    0x01, 0x03,                                      // bits 1000000011
    0x39,                                            // pairs 1 2 3
    0x21, 0x0F,                                      // nibbles 1 2 15
    0x01, 0x00, 0x70, 0x11,                          // kinds 1 and 70000, of which 16 bits are left
    'a',  'b',  0x00, 'c',                           // text
    0xFE, 0xFF,                                      // s -2
    0x78, 0x56, 0x34, 0x12,                          // L
    0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0xC0,  // m (1, -2)
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // t 1
    0xFF, 0xFF, 0xFF, 0xFF,                          // i -1
};

TEST(RecordBytes, InlineItems)
{
    const DesignPtr design = designOf(kSimple);
    const Simple record{{1, 0, 0, 0, 0, 0, 0, 0, 1, 1}, {1, 2, 3}, {1, 2, 15}, {1, 70000}, {'a', 'b', 0, 'c'}, -2,
                        0x12345678, {1, -2}, 1, -1};
    EXPECT_EQ(written(&record, *design), kSimpleBytes);
    EXPECT_EQ(static_cast<int>(kSimpleBytes.size()), design->mifSize);

    Simple back;
    std::memset(&back, 0xEE, sizeof back);
    EXPECT_EQ(readInto(&back, *design, kSimpleBytes), "");
    EXPECT_EQ(back.kind[1], 4464);
    EXPECT_EQ(std::memcmp(back.bits, record.bits, 16), 0);
    EXPECT_EQ(back.t, 1.0);
    EXPECT_EQ(written(&back, *design), kSimpleBytes);
}

TEST(RecordBytes, ValuesBeyondABitTypeRunIntoTheirNeighbours)
{
    const DesignPtr design = designOf("{2:4v,}A,");
    const std::uint8_t record[2] = {0x21, 0x01};
    EXPECT_EQ(written(record, *design), Bytes{0x31});
}

struct Pointers {
    Counted<std::int16_t> counted;
    std::int32_t* star;
    char after;
};
constexpr const char* kPointers = "{0:pscounted,3:*lstar,1:cafter,}Pointers,";

TEST(RecordBytes, PointerItems)
{
    const DesignPtr design = designOf(kPointers);
    const Object<Pointers> object(*design);
    const Bytes empty{0, 0, 0, 0, 8, 0, 0, 0,   // counted: no elements
                      0, 0, 0, 0, 8, 0, 0, 0,   // star: null
                      'x'};
    object->after = 'x';
    EXPECT_EQ(written(object.get(), *design), empty);

    object->counted = {2, heapCopy<std::int16_t>({1, -1})};
    object->star = heapCopy<std::int32_t>({1, 2, 3});
    const Bytes full{2, 0, 0, 0, 8, 0, 0, 0, 1, 0, 0xFF, 0xFF,
                     3, 0, 0, 0, 8, 0, 0, 0, 1, 0, 0,    0,   2, 0, 0, 0, 3, 0, 0, 0,
                     'x'};
    EXPECT_EQ(written(object.get(), *design), full);

    const Object<Pointers> back(*design);
    EXPECT_EQ(readInto(back.get(), *design, full), "");
    EXPECT_EQ(back->counted.count, 2);
    EXPECT_EQ(back->counted.pointer[1], -1);
    EXPECT_EQ(back->star[2], 3);
    EXPECT_EQ(readInto(back.get(), *design, empty), "");
    EXPECT_EQ(back->counted.count, 0);
    EXPECT_EQ(back->counted.pointer, nullptr);
    EXPECT_EQ(back->star, nullptr);
}

TEST(RecordBytes, PositionWordsInAFileLeadBehindTheHead)
{
    const DesignPtr design = designOf(kPointers);
    const Object<Pointers> object(*design);
    object->counted = {1, heapCopy<std::int16_t>({7})};
    const Bytes expected{1, 0, 0, 0, 108, 0, 0, 0, 7, 0, 0, 0, 0, 0, 118, 0, 0, 0, 0};

    Efio_File* file = fileOf(Bytes(100));
    efio_Seek(file, 100, EFIO_SEEK_SET, nullptr);
    EXPECT_EQ(emif_ConvertToMIF(file, object.get(), design.get(), nullptr, nullptr), 19);
    EXPECT_EQ(efio_Tell(file, nullptr), 119);
    Bytes bytes(19);
    efio_ReadDirect(file, 100, bytes.data(), 19, nullptr);
    EXPECT_EQ(bytes, expected);
    efio_Close(file, nullptr);

    EerrException scope(OrvikLog::Literal{"test"});
    const std::string text = emantle::mif::encodeRecord(scope, object.get(), *design, 100);
    EXPECT_EQ(Bytes(text.begin(), text.end()), expected);
}

struct Nested {
    char tag;
    Counted<Pointers> inner;
    Emif_String name;
};
constexpr const char* kNested =
    "{0:pscounted,3:*lstar,1:cafter,}Pointers,{1:ctag,0:poPointers,inner,1:oEmif_String,name,}Nested,";
const Bytes kNestedBytes{'t', 2, 0, 0, 0, 8, 0, 0, 0,
                         0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 'a',
                         1, 0, 0, 0, 8, 0, 0, 0, 9, 0, 0, 0, 0, 0, 8, 0, 0, 0, 'b',
                         3, 0, 0, 0, 8, 0, 0, 0, 'h', 'i', 0};

TEST(RecordBytes, RecordsInsideRecords)
{
    const DesignPtr design = designOf(kNested);
    ASSERT_EQ(static_cast<std::size_t>(design->hostSize), sizeof(Nested));
    const Object<Nested> object(*design);
    EXPECT_EQ(readInto(object.get(), *design, kNestedBytes), "");
    EXPECT_EQ(object->inner.pointer[1].counted.pointer[0], 9);
    EXPECT_EQ(object->inner.pointer[0].after, 'a');
    EXPECT_STREQ(object->name.string, "hi");
    EXPECT_EQ(written(object.get(), *design), kNestedBytes);
}

TEST(RecordBytes, AnArrayOfNoBitsCountsAByteThatABufferDoesNotGet)
{
    const DesignPtr design = designOf("{0:1none,1:Cc,}A,");
    const std::uint8_t record = 5;
    Bytes bytes(2, 0xEE);
    EXPECT_EQ(emif_ObjectSize(&record, design.get(), nullptr), 2);
    EXPECT_EQ(emif_ConvertToMIF(nullptr, &record, design.get(), bytes.data(), nullptr), 2);
    EXPECT_EQ(bytes, (Bytes{0xEE, 5}));
    std::uint8_t back = 0;
    EXPECT_EQ(readInto(&back, *design, bytes), "");
    EXPECT_EQ(back, 5);
    Efio_File* file = fileOf({});
    emif_ConvertToMIF(file, &record, design.get(), nullptr, nullptr);
    efio_ReadDirect(file, 0, bytes.data(), 2, nullptr);
    EXPECT_EQ(bytes, (Bytes{0, 5}));
    efio_Close(file, nullptr);
}

TEST(RecordBytes, ANegativeCountOfCharactersIsATerminatedText)
{
    const DesignPtr design = designOf("{0:pctext,}A,");
    const Object<Counted<char>> object(*design);
    *static_cast<Counted<char>*>(object.get()) = {-1, heapCopy<char>({'h', 'i', 0, '?'})};
    EXPECT_EQ(written(object.get(), *design), (Bytes{3, 0, 0, 0, 8, 0, 0, 0, 'h', 'i', 0}));

    const DesignPtr numbers = designOf("{0:pltext,}A,");
    Report report;
    EXPECT_EQ(emif_ObjectSize(object.get(), numbers.get(), report), 0);
    EXPECT_THAT(report.text(), HasSubstr("Item text holds -1 elements"));
}

TEST(BaseDataBytes, LinesAreRowsOrColumnsAndStartOnAByte)
{
    struct Case {
        long rows;
        long columns;
        Egda_PixelType type;
        long object;
        Bytes values;
    };
    const Case cases[] = {
        {3, 10, EGDA_TYPE_U1, EGDA_RASTER_OBJECT, {0x55, 0x01, 0x55, 0x01, 0x55, 0x01}},
        {2, 3, EGDA_TYPE_U1, EGDA_MATRIX_OBJECT, {0x01, 0x01, 0x01}},
        {2, 3, EGDA_TYPE_U2, EGDA_TABLE_OBJECT, {0x11, 0x11}},
        {2, 3, EGDA_TYPE_U4, EGDA_SCALAR_OBJECT, {0x01, 0x01, 0x01, 0x01}},
        {2, 3, EGDA_TYPE_U16, EGDA_RASTER_OBJECT, {1, 0, 0, 0, 1, 0, 1, 0, 0, 0, 1, 0}},
        {0, 3, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, {}},
        {2, 0, EGDA_TYPE_U1, EGDA_RASTER_OBJECT, {0, 0}},
        {2, 0, EGDA_TYPE_F64, EGDA_MATRIX_OBJECT, {}},
    };
    const DesignPtr design = designOf("{1:bvalues,}A,");
    for (const Case& each : cases) {
        SCOPED_TRACE(each.values.size());
        const bool isEmpty = each.rows * each.columns == 0;
        Egda_BaseData* data = baseData(isEmpty ? 1 : each.rows, isEmpty ? 1 : each.columns, each.type, each.object);
        if (isEmpty) {
            egda_BaseDataDeleteContents(data, nullptr);
            data->data = data->firstelement = nullptr;
            data->numrows = static_cast<std::int32_t>(each.rows);
            data->numcolumns = static_cast<std::int32_t>(each.columns);
            data->numelements = 0;
            data->pitch = static_cast<std::int32_t>((each.object == EGDA_MATRIX_OBJECT ? each.rows : each.columns) * data->numbytes);
        }
        const long lines = each.object == EGDA_MATRIX_OBJECT ? each.columns : each.rows;
        const long perLine = each.object == EGDA_MATRIX_OBJECT ? each.rows : each.columns;
        for (long line = 0; line < lines; ++line) {
            for (long i = 0; i < perLine; i += 2) {
                static_cast<std::uint8_t*>(data->data)[line * data->pitch + i * data->numbytes] = 1;
            }
        }
        Bytes expected{static_cast<std::uint8_t>(each.rows), 0, 0, 0, static_cast<std::uint8_t>(each.columns), 0, 0, 0,
                       static_cast<std::uint8_t>(each.type), 0, static_cast<std::uint8_t>(each.object), 0};
        expected.insert(expected.end(), each.values.begin(), each.values.end());
        EXPECT_EQ(written(data, *design), expected);

        const Object<Egda_BaseData> back(*design);
        EXPECT_EQ(readInto(back.get(), *design, expected), "");
        EXPECT_EQ(back->pitch, data->pitch);
        EXPECT_EQ(back->numelements, data->numelements);
        EXPECT_EQ(back->numbytes, data->numbytes);
        EXPECT_EQ(back->firstelement, back->data);
        EXPECT_EQ(written(back.get(), *design), expected);
        egda_BaseDataDelete(data, nullptr);
    }
}

TEST(BaseDataBytes, AViewWritesItsWindow)
{
    const DesignPtr design = designOf("{1:bvalues,}A,");
    Egda_BaseData* whole = baseData(4, 4, EGDA_TYPE_U8, EGDA_RASTER_OBJECT);
    std::iota(static_cast<std::uint8_t*>(whole->data), static_cast<std::uint8_t*>(whole->data) + 16, std::uint8_t{0});
    Egda_BaseData* view = egda_BaseDataDerived(whole, 1, 2, 2, 2, nullptr);
    const Bytes bytes{2, 0, 0, 0, 2, 0, 0, 0, 3, 0, 3, 0, 6, 7, 10, 11};
    EXPECT_EQ(written(view, *design), bytes);

    Bytes other = bytes;
    other[12] = 99;
    EXPECT_EQ(readInto(view, *design, other), "") << "values of the same shape go where the record holds them";
    EXPECT_EQ(static_cast<std::uint8_t*>(whole->data)[6], 99);
    EXPECT_EQ(static_cast<std::uint8_t*>(whole->data)[8], 8);
    other[0] = 1;
    other.resize(14);
    EXPECT_THAT(readInto(view, *design, other), HasSubstr("The borrowed values are 2 by 2, those read 1 by 2"));
    egda_BaseDataDelete(view, nullptr);
    egda_BaseDataDelete(whole, nullptr);
}

TEST(Storage, IsKeptWhereTheCountAgreesAndReplacedOtherwise)
{
    const DesignPtr design = designOf(kPointers);
    const Object<Pointers> object(*design);
    const auto bytes = [](std::uint8_t counted, std::uint8_t star) {
        Bytes all{counted, 0, 0, 0, 8, 0, 0, 0};
        all.resize(all.size() + 2U * counted, 1);
        all.insert(all.end(), {star, 0, 0, 0, 8, 0, 0, 0});
        all.resize(all.size() + 4U * star + 1, 2);
        return all;
    };
    EXPECT_EQ(readInto(object.get(), *design, bytes(2, 3)), "");
    const void* counted = object->counted.pointer;
    const void* star = object->star;
    EXPECT_EQ(readInto(object.get(), *design, bytes(2, 1)), "");
    EXPECT_EQ(object->counted.pointer, counted);
    EXPECT_EQ(object->star, star);
    EXPECT_EQ(object->star[2], 0x02020202);
    EXPECT_EQ(readInto(object.get(), *design, bytes(200, 100)), "") << "more than the storage is known to hold";
    EXPECT_EQ(object->counted.count, 200);
    EXPECT_EQ(object->counted.pointer[199], 0x0101);
    EXPECT_EQ(object->star[99], 0x02020202);
    EXPECT_EQ(readInto(object.get(), *design, bytes(0, 0)), "");
    EXPECT_EQ(object->star, nullptr);
}

TEST(Storage, OfAStarHoldsWhatTheDesignSays)
{
    const DesignPtr design = designOf("{4:*ba,6:*lb,}A,");
    struct A {
        Egda_BaseData* a;
        std::int32_t* b;
    };
    const Object<A> object(*design);
    EXPECT_EQ(readInto(object.get(), *design, {1, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 3, 0,
                                               1, 0, 0, 0, 8, 0, 0, 0, 7, 0, 0, 0}),
              "");
    EXPECT_EQ(object->a[3].data, nullptr);
    EXPECT_EQ(object->b[0], 7);
    EXPECT_EQ(object->b[5], 0);
    EXPECT_EQ(written(object.get(), *design).size(), 8U + 4 * 12 + 8 + 6 * 4);
}

TEST(Files, GiveAndTakeWhatMemoryDoes)
{
    const DesignPtr design = designOf("{1:chead,0:p1bits,0:pdnumbers,0:pe0:small,1:bvalues,1:ctail,}A,");
    struct Record {
        char head;
        Counted<std::uint8_t> bits;
        Counted<double> numbers;
        Counted<std::int32_t> small;
        Egda_BaseData values;
        char tail;
    };
    ASSERT_EQ(static_cast<std::size_t>(design->hostSize), sizeof(Record));
    const Object<Record> object(*design);
    constexpr std::int32_t kCount = 300001;
    object->head = 'h';
    object->tail = 't';
    object->bits = {kCount, static_cast<std::uint8_t*>(emsc_HeapMalloc(kCount))};
    object->numbers = {kCount, static_cast<double*>(emsc_HeapMalloc(8L * kCount))};
    object->small = {kCount, static_cast<std::int32_t*>(emsc_HeapMalloc(4L * kCount))};
    Egda_BaseData* values = baseData(333, 301, EGDA_TYPE_U2, EGDA_RASTER_OBJECT);
    object->values = *values;
    emsc_HeapFree(values);
    for (int i = 0; i < kCount; ++i) {
        object->bits.pointer[i] = i % 3 == 0;
        object->numbers.pointer[i] = i;
        object->small.pointer[i] = i & 0xFFFF;
    }
    for (int i = 0; i < 333 * 301; ++i) {
        static_cast<std::uint8_t*>(object->values.data)[i] = static_cast<std::uint8_t>(i & 3);
    }
    const Bytes expected = written(object.get(), *design);

    Efio_File* file = fileOf({});
    Report report;
    EXPECT_EQ(emif_ConvertToMIF(file, object.get(), design.get(), nullptr, report), static_cast<long>(expected.size()));
    efio_WriteSeq(file, "more", 4, nullptr);
    efio_Seek(file, 0, EFIO_SEEK_SET, nullptr);

    const Object<Record> back(*design);
    Bytes copy(expected.size());
    void* at = copy.data();
    EXPECT_EQ(emif_ConvertToHostX(file, &at, design.get(), back.get(), report), static_cast<long>(expected.size()))
        << report.text();
    EXPECT_EQ(efio_Tell(file, nullptr), static_cast<long>(expected.size())) << "not a byte beyond the record is taken";
    EXPECT_EQ(at, copy.data() + copy.size());
    EXPECT_EQ(written(back.get(), *design), expected);
    void* from = copy.data();
    const Object<Record> third(*design);
    emif_ConvertToHostX(nullptr, &from, design.get(), third.get(), report);
    EXPECT_EQ(from, copy.data() + copy.size());
    EXPECT_EQ(written(third.get(), *design), expected);
    efio_Close(file, nullptr);
}

TEST(Files, FailuresNameTheStep)
{
    const DesignPtr design = designOf("{1:lnumber,0:psvalues,}A,");
    Efio_File* file = fileOf({1, 0, 0, 0, 9, 0, 0, 0, 8, 0, 0, 0, 1, 0});
    const Object<char> object(*design);
    Report report;
    EXPECT_EQ(emif_ConvertToHost(file, nullptr, design.get(), object.get(), report), 0);
    EXPECT_EQ(report.text(), "emif_ConvertToHost: emif_MIFtoObject failed / emif_MIFtoObject: emif_MIFtoShort failed / "
                             "emif_MIFtoShort: 18 bytes are needed, 2 are left");
    efio_Close(file, nullptr);

    EXPECT_EQ(emif_ConvertToMIF(nullptr, nullptr, design.get(), nullptr, report), 0);
    EXPECT_EQ(report.text(), "emif_ConvertToMIF: Invalid object");
    EXPECT_EQ(emif_ConvertToMIF(nullptr, object.get(), nullptr, nullptr, report), 0);
    EXPECT_EQ(report.text(), "emif_ConvertToMIF: emif_ObjectToMIF failed / emif_ObjectToMIF: Invalid object or design!");
    const DesignPtr none = designOf("{}A,");
    EXPECT_EQ(emif_ObjectSize(object.get(), none.get(), report), 0);
    EXPECT_EQ(report.text(), "emif_ObjectSize: emif_ObjectToMIF failed / emif_ObjectToMIF: Invalid object or design!");

    Egda_BaseData text{};
    text.datatype = EGDA_TYPE_STRING;
    const DesignPtr values = designOf("{1:bvalues,}A,");
    EXPECT_EQ(emif_ObjectSize(&text, values.get(), report), 0);
    EXPECT_EQ(report.text(), "emif_ObjectSize: emif_ObjectToMIF failed / emif_ObjectToMIF: Error reported by function "
                             "emif_BaseDataToMIF / emif_BaseDataToMIF: Invalid EMIF BaseData type!");
}

/* A large run reaches the file, or is found short, in the step of its own type. */
TEST(Files, FailuresNameTheType)
{
    const std::pair<char, const char*> types[] = {
        {'1', "U1"},    {'2', "U2"},     {'4', "U4"},      {'C', "Char"},     {'c', "Char"},   {'S', "Short"},
        {'s', "Short"}, {'l', "Long"},   {'i', "S32"},     {'f', "Float"},    {'d', "Double"}, {'t', "Double"},
        {'m', "Complex"}, {'M', "DComplex"}, {'e', "Enum"},
    };
    const std::string name = testing::TempDir() + "mif_types" + std::to_string(getpid());
    std::ofstream(name, std::ios::binary) << std::string("\x00\x00\x10\x00\x08\x00\x00\x00\x01", 9);
    std::vector<std::uint8_t> zeros(std::size_t{16} << 20);
    for (const auto& [letter, type] : types) {
        const DesignPtr design = designOf(std::string("{0:p") + letter + (letter == 'e' ? "0:" : "") + "values,}A,");
        Efio_File* file = efio_Open(name.c_str(), "r", nullptr);
        const Object<char> object(*design);
        Report report;
        emif_ConvertToHost(file, nullptr, design.get(), object.get(), report);
        EXPECT_THAT(report.text(), HasSubstr(std::string("emif_MIFtoObject: emif_MIFto") + type + " failed / "));
        efio_Seek(file, 0, EFIO_SEEK_SET, nullptr);
        const Counted<std::uint8_t> large{1 << 20, zeros.data()};
        emif_ConvertToMIF(file, &large, design.get(), nullptr, report);
        EXPECT_THAT(report.text(), HasSubstr(std::string("Error reported by function emif_") + type + "ToMIF / "));
        EXPECT_THAT(report.text(), HasSubstr("Error reported by function efio_FileWriteSequential"));
        efio_Close(file, nullptr);
    }
    std::remove(name.c_str());
}

/* Counts that lie are found out before memory is taken for them. */
TEST(Damage, CountsThatLieAreReports)
{
    struct Case {
        const char* design;
        Bytes bytes;
        const char* report;
    };
    const Case cases[] = {
        {"{0:pCa,}A,", {0xFF, 0xFF, 0xFF, 0x7F, 8, 0, 0, 0}, "2147483647 bytes are needed, 0 are left"},
        {"{0:pCa,}A,", {0xFF, 0xFF, 0xFF, 0xFF, 8, 0, 0, 0}, "-1 elements"},
        {"{0:pMa,}A,", {0xFF, 0xFF, 0xFF, 0x7F, 8, 0, 0, 0}, "34359738352 bytes are needed, 0 are left"},
        {"{0:p1a,}A,", {0, 0, 0, 0x40, 8, 0, 0, 0}, "134217728 bytes are needed, 0 are left"},
        {"{0:pba,}A,", {0, 0, 0, 0x40, 8, 0, 0, 0}, "12884901888 bytes are needed, 0 are left"},
        {"{0:pCx,}B,{0:poB,a,}A,", {0, 0, 0, 0x40, 8, 0, 0, 0}, "8589934592 bytes are needed, 0 are left"},
        {"{1:ba,}A,", {0, 0, 0, 0x40, 0, 0, 0, 0x40, 0, 0, 0, 0}, "A BaseData of 1073741824 rows and 1073741824 columns"},
        {"{1:ba,}A,", {0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0, 0, 0, 0, 0}, "A BaseData of -1 rows and 1 columns"},
        {"{1:ba,}A,", {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F, 3, 0, 3, 0}, "2147483647 bytes are needed, 0 are left"},
        {"{1:ba,}A,", {0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 0, 0, 3, 0}, "2147483647 bytes are needed, 0 are left"},
        {"{1:ba,}A,", {1, 0, 0, 0, 1, 0, 0, 0, 13, 0, 3, 0}, "Invalid EMIF BaseData type!"},
        {"{1:ba,}A,", {1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 3, 0}, "Invalid EMIF BaseData type!"},
        {"{1:ba,}A,", {1, 0, 0, 0, 1, 0, 0, 0, 3, 0, 4, 0}, "Invalid EMIF BaseData object type 4!"},
        {"{100000:*Ca,}A,", {1, 0, 0, 0, 8, 0, 0, 0, 5}, "1 elements, where the design has 100000"},
        {"{1:*ba,}A,", {2, 0, 0, 0, 8, 0, 0, 0}, "2 elements, where the design has 1"},
        {"{16:Ca,}A,", {1, 2, 3}, "16 bytes are needed, 3 are left"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.report);
        const DesignPtr design = designOf(each.design);
        const Object<char> object(*design);
        EerrException scope(OrvikLog::Literal{"test"});
        EXPECT_THROW(emantle::mif::convertToHost(scope, each.bytes, *design, object.get()), emantle::Failure);
        Eerr_ErrorReport* chain = scope.Release();
        const Eerr_ErrorReport* cause = chain;
        while (cause != nullptr && cause->next != nullptr) {
            cause = cause->next;
        }
        EXPECT_TRUE(cause != nullptr && std::string(cause->message) == each.report)
            << (cause == nullptr ? "nothing" : cause->message);
        eerr_DeleteErrorReportEx(&chain);
    }
    const DesignPtr nothing = designOf("{2147483647:x{0:la,}B,b,0:px{1:?q,}C,c,1:Cd,}A,");
    const Object<Counted<void>> object(*nothing);
    EXPECT_EQ(readInto(object.get(), *nothing, {0xFF, 0xFF, 0xFF, 0x7F, 8, 0, 0, 0, 5}), "")
        << "elements without a size take neither memory nor time";
}

TEST(Damage, AnywhereEndsInAReportOrAValue)
{
    const DesignPtr design = designOf(std::string("{0:pscounted,3:*lstar,1:cafter,}Pointers,{1:ctag,0:poPointers,inner,"
                                                  "1:oEmif_String,name,1:*bvalues,0:p2pairs,}Nested,"));
    Bytes bytes = kNestedBytes;
    const Bytes more{1, 0, 0, 0, 8, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 0, 0, 2, 0, 1, 2, 5, 0, 0, 0, 8, 0, 0, 0, 0x1B, 1};
    bytes.insert(bytes.end(), more.begin(), more.end());
    const auto survives = [&](const Bytes& damaged) {
        const Object<char> object(*design);
        EerrException scope(OrvikLog::Literal{"test"});
        bool isRead = true;
        try {
            emantle::mif::convertToHost(scope, damaged, *design, object.get());
        } catch (const emantle::Failure&) {
            isRead = false;
            EXPECT_TRUE(static_cast<bool>(scope));
            scope.Clear();
        }
        if (isRead) {
            Object<char> copy(*design, emif_ObjectCopy(object.get(), design.get(), nullptr));
            EXPECT_EQ(written(copy.get(), *design), written(object.get(), *design));
        }
        return isRead;
    };
    EXPECT_TRUE(survives(bytes));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        EXPECT_FALSE(survives(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(i))));
        for (const int value : {0, 1, 2, 3, 12, 13, 0x7F, 0x80, 0xFF}) {
            Bytes damaged = bytes;
            damaged[i] = static_cast<std::uint8_t>(value);
            survives(damaged);
        }
    }
}

TEST(Damage, WithoutMemoryWhatWasReadIsFreed)
{
    const DesignPtr design = designOf(kNested);
    bool fired = true;
    for (std::uint64_t nth = 1; fired; ++nth) {
        void* object = emif_ObjectAllocate(design.get(), nullptr);
        Eerr_ErrorReport* report = nullptr;
        {
            const emantle::platform::FaultInjection fault(emantle::platform::Operation::allocate, nth,
                                                          emantle::platform::Outcome::noMemory());
            emantle::guarded(&report, "test", [&](EerrException& scope) {
                emantle::mif::convertToHost(scope, kNestedBytes, *design, object);
            });
            if (report == nullptr) {
                void* copy = emif_ObjectCopy(object, design.get(), &report);
                EXPECT_EQ(copy == nullptr, report != nullptr);
                if (copy != nullptr) {
                    emif_ObjectFree(&copy, design.get(), nullptr);
                }
            }
            fired = fault.fired();
        }
        EXPECT_EQ(report != nullptr, fired) << nth;
        eerr_DeleteErrorReportEx(&report);
        emif_ObjectFree(&object, design.get(), nullptr);
        EXPECT_EQ(object, nullptr);
    }
}

}  // namespace
