#include "frame/memory/heap_ptr.h"
#include "store/mif/elements.h"
#include "store/mif/layout.h"
#include "store/mif/packing_kernels.h"
#include "store/mif/scratch.h"
#include "store/mif/source.h"

#include <algorithm>

namespace emantle::mif {

namespace {

/* The walk that reads. Whoever takes bytes has promised them: the record promises the least that its items take, a
 * pointer item the least that its elements take, a BaseData its values. */
class Reader {
public:
    Reader(EerrException& scope, Source& source) : scope_(scope), source_(source) {}

    void record(uint8_t* record, const Emif_Design& design)
    {
        requireWalk(record, &design);
        for (const Emif_DesignItem* each = design.items; each != nullptr; each = each->next) {
            if (each->type != kNoType) {
                item(record + each->hostOffset, *each);
            }
        }
    }

private:
    void item(uint8_t* place, const Emif_DesignItem& item)
    {
        require(isKnown(item.type), "Invalid Emif_Type %ld", long{item.type});
        Elements elements{place, static_cast<std::size_t>(std::max(item.count, 0))};
        if (item.isPointer != 0) {
            const int32_t count = asFunction(scope_, "emif_MIFtoLong", [&] { return head(); });
            asFunction(scope_, kTypes[item.type].reader, [&] { elements = storage(place, item, count); });
        }
        asFunction(scope_, kTypes[item.type].reader, [&] { read(elements, item); });
    }

    /* The count; where the data lie is behind the head whatever it says. */
    int32_t head()
    {
        return countIn(source_.take(kHeadBytes));
    }

    /* Where the elements of a pointer item go, with their bytes promised. */
    Elements storage(uint8_t* place, const Emif_DesignItem& item, int32_t count)
    {
        require(count >= 0, "%d elements", count);
        const auto elements = static_cast<std::size_t>(count);
        const std::size_t room = item.isCountedPointer != 0 || count == 0 ? elements : roomOfStar(item, elements);
        source_.promise(isPacked(item.type) ? streamBytes(item.type, elements) : elements * leastElementBytes(item));
        void* held = pointerIn(item, place);
        if (held != nullptr && !keeps(place, item, count)) {
            releaseItem(scope_, place, item);
            held = nullptr;
        }
        if (held == nullptr) {
            held = allocate<uint8_t>(room * static_cast<std::size_t>(item.hostBytesPerElement)).release();
            setPointer(item, place, held);
        }
        if (item.isCountedPointer != 0) {
            setCount(place, count);
        }
        return {static_cast<uint8_t*>(held), held == nullptr ? 0 : elements};
    }

    /* Every other walk takes a `*` for as many elements as the design says, so there is room for these at least, and none
     * that own memory beyond them. */
    static std::size_t roomOfStar(const Emif_DesignItem& item, std::size_t elements)
    {
        const auto designed = static_cast<std::size_t>(std::max(item.count, 0));
        const bool ownsMemory = item.type == EMIF_TYPE_BASEDATA || isRecord(item.type);
        /* A text of the design's gets its terminator even where the stream has none. */
        const std::size_t missing = item.count < 0 ? 1 : designed > elements ? designed - elements : 0;
        require((!ownsMemory || elements <= designed) &&
                    missing * static_cast<std::size_t>(item.hostBytesPerElement) <= kMostAddedRoom,
                "%ld elements, where the design has %ld", static_cast<long>(elements), static_cast<long>(designed));
        return elements + missing;
    }

    static bool keeps(const uint8_t* place, const Emif_DesignItem& item, int32_t count) noexcept
    {
        return count > 0 && (item.isCountedPointer != 0 ? countIn(place) == count : count <= item.count);
    }

    void read(const Elements& elements, const Emif_DesignItem& item)
    {
        if (isRecord(item.type)) {
            require(item.design, "Invalid object or design!");
            if (item.hostBytesPerElement == 0 && leastElementBytes(item) == 0) {
                return;
            }
            for (std::size_t i = 0; i < elements.count; ++i) {
                record(elementAt(item, elements, i).data, *item.design);
            }
        } else if (item.type == EMIF_TYPE_BASEDATA) {
            for (std::size_t i = 0; i < elements.count; ++i) {
                baseData(elementAt(item, elements, i).data);
            }
        } else {
            run(item.type, elements.data, elements.count);
        }
    }

    /* Elements that are no records. */
    void run(Emif_Type type, uint8_t* data, std::size_t count)
    {
        const int bits = kTypes[type].mifBits;
        if (isPacked(type)) {
            if (count == 0) {
                source_.take(1);
            }
            const auto perByte = static_cast<std::size_t>(8 / bits);
            pieces(count, kPiece * perByte, [&](std::size_t from, std::size_t n) {
                unpack(source_.take((n + perByte - 1) / perByte), n, bits, data + from);
            });
        } else if (type == EMIF_TYPE_ENUM) {
            pieces(count, kPiece / 2, [&](std::size_t from, std::size_t n) {
                widenEnums(source_.take(2 * n), n, data + 4 * from);
            });
        } else if (count > 0) {
            source_.read(data, count * static_cast<std::size_t>(bits / 8));
        }
    }

    template <class Step>
    static void pieces(std::size_t count, std::size_t most, Step step)
    {
        for (std::size_t from = 0; from < count; from += most) {
            step(from, std::min(most, count - from));
        }
    }

    void baseData(uint8_t* place)
    {
        Egda_BaseData data;
        std::memcpy(&data, place, sizeof data);
        Egda_BaseData shape = readShape();
        const Emif_Type type = valueTypeOf(shape.datatype);
        const Lines lines = linesOf(shape);
        const auto values = static_cast<uint64_t>(shape.numelements);
        source_.promise(isPacked(type) ? lines.count * streamBytes(type, lines.perLine) : streamBytes(type, values));
        hold(data, shape);
        std::memcpy(place, &data, sizeof data);
        readLines(data, type, lines);
    }

    /* The head, and what follows from it. */
    Egda_BaseData readShape()
    {
        const uint8_t* head = source_.take(12);
        Egda_BaseData shape{};
        uint16_t datatype;
        uint16_t objecttype;
        std::memcpy(&shape.numrows, head, 4);
        std::memcpy(&shape.numcolumns, head + 4, 4);
        std::memcpy(&datatype, head + 8, 2);
        std::memcpy(&objecttype, head + 10, 2);
        shape.datatype = datatype;
        shape.objecttype = objecttype;
        require(objecttype < EGDA_NUM_OBJECTS, "Invalid EMIF BaseData object type %d!", int{objecttype});
        shape.numbytes = kTypes[valueTypeOf(shape.datatype)].hostBytes;
        const int64_t elements = int64_t{shape.numrows} * shape.numcolumns;
        const int64_t pitch = int64_t{objecttype == EGDA_MATRIX_OBJECT ? shape.numrows : shape.numcolumns} * shape.numbytes;
        require(shape.numrows >= 0 && shape.numcolumns >= 0 && elements <= kLargestSize && pitch <= kLargestSize,
                "A BaseData of %d rows and %d columns", shape.numrows, shape.numcolumns);
        shape.numelements = static_cast<int32_t>(elements);
        shape.pitch = static_cast<int32_t>(pitch);
        return shape;
    }

    /* Gives `data` the shape: with the values it holds, where they have it, and with new ones otherwise. */
    void hold(Egda_BaseData& data, const Egda_BaseData& shape)
    {
        const bool isSame = data.numrows == shape.numrows && data.numcolumns == shape.numcolumns &&
                            data.datatype == shape.datatype &&
                            (data.objecttype == EGDA_MATRIX_OBJECT) == (shape.objecttype == EGDA_MATRIX_OBJECT);
        if (data.data != nullptr && isSame) {
            data.objecttype = shape.objecttype;
            data.firstelement = data.firstelement == nullptr ? data.data : data.firstelement;
            return;
        }
        require(data.data == nullptr || data.derivedFlag == 0, "The borrowed values are %d by %d, those read %d by %d",
                data.numrows, data.numcolumns, shape.numrows, shape.numcolumns);
        const auto bytes = static_cast<std::size_t>(shape.numelements) * static_cast<std::size_t>(shape.numbytes);
        HeapPtr<uint8_t> values = allocate<uint8_t>(bytes);
        releaseValues(scope_, &data);
        data = shape;
        data.data = data.firstelement = values.release();
    }

    void readLines(const Egda_BaseData& data, Emif_Type type, const Lines& lines)
    {
        auto* line = static_cast<uint8_t*>(data.firstelement);
        const auto lineBytes = static_cast<int64_t>(lines.perLine) * data.numbytes;
        if (!isPacked(type) && (lineBytes == 0 || lineBytes == data.pitch)) {
            run(type, line, lines.count * lines.perLine);
            return;
        }
        for (std::size_t i = 0; i < lines.count; ++i) {
            run(type, line == nullptr ? nullptr : line + static_cast<std::ptrdiff_t>(i) * data.pitch, lines.perLine);
        }
    }

    static constexpr std::size_t kPiece = kScratchSize / 4;
    static constexpr std::size_t kMostAddedRoom = 65536;

    EerrException& scope_;
    Source& source_;
};

uint64_t read(EerrException& scope, Source& source, const Emif_Design* design, void* object)
{
    asFunction(scope, "emif_MIFtoObject", [&] {
        requireWalk(object, design);
        source.promise(leastStreamBytes(*design));
        Reader(scope, source).record(static_cast<uint8_t*>(object), *design);
    });
    return source.consumed();
}

long convert(EerrException& scope, Efio_File* file, void* buffer, const Emif_Design* design, void* object)
{
    if (file != nullptr) {
        Source source(scope, file, buffer);
        return static_cast<long>(read(scope, source, design, object));
    }
    require(buffer, "Args");
    Source source(scope, buffer);
    return static_cast<long>(read(scope, source, design, object));
}

}  // namespace

std::size_t convertToHost(EerrException& scope, Bytes bytes, const Emif_Design& design, void* object)
{
    Source source(scope, bytes);
    return read(scope, source, &design, object);
}

std::size_t convertToHost(EerrException& scope, Supply& supply, const Emif_Design* design, void* object)
{
    Source source(scope, supply);
    return read(scope, source, design, object);
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API long emif_ConvertToHost(Efio_File* file, void* buffer, const Emif_Design* design, void* object,
                                    Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_ConvertToHost", 0,
                         [&](EerrException& scope) { return convert(scope, file, buffer, design, object); });
}

EMANTLE_API long emif_ConvertToHostX(Efio_File* file, void** buffer, const Emif_Design* design, void* object,
                                     Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_ConvertToHostX", 0, [&](EerrException& scope) {
        const long bytes = convert(scope, file, buffer == nullptr ? nullptr : *buffer, design, object);
        if (buffer != nullptr && *buffer != nullptr) {
            *buffer = static_cast<uint8_t*>(*buffer) + bytes;
        }
        return bytes;
    });
}
