#include "store/mif/elements.h"
#include "store/mif/layout.h"
#include "store/mif/packing_kernels.h"
#include "store/mif/scratch.h"
#include "store/mif/sink.h"
#include "store/mif/stream.h"

#include <algorithm>

namespace emantle::mif {

namespace {

/* The walk that writes. */
class Writer {
public:
    Writer(EerrException& scope, Sink& sink) : scope_(scope), sink_(sink) {}

    void record(const uint8_t* record, const Emif_Design& design)
    {
        requireWalk(record, &design);
        for (const Emif_DesignItem* each = design.items; each != nullptr; each = each->next) {
            if (each->type != kNoType) {
                item(record + each->hostOffset, *each);
            }
        }
    }

private:
    void item(const uint8_t* place, const Emif_DesignItem& item)
    {
        require(isKnown(item.type), "Invalid Emif_Type %ld", long{item.type});
        const Elements elements = elementsOf(item, place);
        if (item.isPointer != 0) {
            asFunction(scope_, "emif_LongToMIF", "Error converting long to MIF!", [&] { head(elements.count); });
        }
        const char* function = kTypes[item.type].writer;
        asFunction(scope_, function, "Error reported by function %s", [&] { write(elements, item); }, function);
    }

    void head(std::size_t count)
    {
        require(count <= INT32_MAX, "%lu elements", static_cast<unsigned long>(count));
        const uint32_t words[2] = {static_cast<uint32_t>(count), sink_.positionBehindHead()};
        static_assert(sizeof words == kHeadBytes);
        sink_.put(words, sizeof words);
    }

    void write(const Elements& elements, const Emif_DesignItem& item)
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
                Egda_BaseData data;
                std::memcpy(&data, elementAt(item, elements, i).data, sizeof data);
                baseData(data);
            }
        } else {
            run(item.type, elements.data, elements.count);
        }
    }

    /* Elements that are no records. */
    void run(Emif_Type type, const uint8_t* data, std::size_t count)
    {
        const int bits = kTypes[type].mifBits;
        if (isPacked(type)) {
            if (count == 0) {
                sink_.skip(1);
            }
            const auto perByte = static_cast<std::size_t>(8 / bits);
            pieces(count, kPiece * perByte, [&](std::size_t from, std::size_t n) {
                if (uint8_t* to = sink_.room((n + perByte - 1) / perByte)) {
                    pack(data + from, n, bits, to);
                }
            });
        } else if (type == EMIF_TYPE_ENUM) {
            pieces(count, kPiece / 2, [&](std::size_t from, std::size_t n) {
                if (uint8_t* to = sink_.room(2 * n)) {
                    narrowEnums(data + 4 * from, n, to);
                }
            });
        } else {
            sink_.put(data, count * static_cast<std::size_t>(bits / 8));
        }
    }

    template <class Step>
    static void pieces(std::size_t count, std::size_t most, Step step)
    {
        for (std::size_t from = 0; from < count; from += most) {
            step(from, std::min(most, count - from));
        }
    }

    void baseData(const Egda_BaseData& data)
    {
        const Emif_Type type = valueTypeOf(data.datatype);
        const auto code = static_cast<uint16_t>(data.datatype);
        const auto object = static_cast<uint16_t>(data.objecttype);
        sink_.put(&data.numrows, 4);
        sink_.put(&data.numcolumns, 4);
        sink_.put(&code, 2);
        sink_.put(&object, 2);
        const Lines lines = linesOf(data);
        const auto lineBytes = lines.perLine * static_cast<std::size_t>(kTypes[type].hostBytes);
        const void* first = data.firstelement != nullptr ? data.firstelement : data.data;
        require(first != nullptr || lineBytes == 0 || lines.count == 0, "Invalid object or design!");
        const auto* line = static_cast<const uint8_t*>(first);
        if (!isPacked(type) && static_cast<int64_t>(lineBytes) == data.pitch) {
            run(type, line, lines.count * lines.perLine);
            return;
        }
        if (!isPacked(type) && lineBytes == 0) {
            return;
        }
        for (std::size_t i = 0; i < lines.count; ++i) {
            run(type, line == nullptr ? nullptr : line + static_cast<std::ptrdiff_t>(i) * data.pitch, lines.perLine);
        }
    }

    static constexpr std::size_t kPiece = kScratchSize / 4;

    EerrException& scope_;
    Sink& sink_;
};

uint64_t write(EerrException& scope, Sink& sink, const void* object, const Emif_Design* design)
{
    asFunction(scope, "emif_ObjectToMIF", [&] {
        requireWalk(object, design);
        Writer(scope, sink).record(static_cast<const uint8_t*>(object), *design);
        sink.finish();
    });
    return sink.total();
}

}  // namespace

std::size_t convertToMIF(EerrException& scope, const void* object, const Emif_Design& design, std::span<uint8_t> bytes)
{
    Sink sink(scope, bytes);
    return write(scope, sink, object, &design);
}

std::string encodeRecord(EerrException& scope, const void* object, const Emif_Design& design, uint64_t position)
{
    std::string bytes;
    Sink sink(scope, bytes, position);
    write(scope, sink, object, &design);
    return bytes;
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API long emif_ConvertToMIF(Efio_File* file, const void* object, const Emif_Design* design, void* buffer,
                                   Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_ConvertToMIF", 0, [&](EerrException& scope) {
        require(object, "Invalid object");
        Sink sink = file != nullptr     ? Sink(scope, file)
                    : buffer != nullptr ? Sink(scope, buffer)
                                        : Sink(scope);
        return static_cast<long>(write(scope, sink, object, design));
    });
}

EMANTLE_API long emif_ObjectSize(const void* object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_ObjectSize", 0, [&](EerrException& scope) {
        Sink sink(scope);
        return static_cast<long>(write(scope, sink, object, design));
    });
}
