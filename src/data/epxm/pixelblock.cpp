#include <emantle/data/epxm/pixelblock.h>

#include "data/egda/basedata_shape.h"

#include <emantle/data/epxm/convert.h>
#include <emantle/frame/eerr.h>
#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace epxm {

namespace {

constexpr const char* kPath = "PixelBlock";

[[noreturn]] void fail(const char* function, const char* text, long line = __builtin_LINE())
{
    EerrException(kPath, function).Throw(line, text);
}

void require(bool condition, const char* function, const char* text, long line = __builtin_LINE())
{
    if (!condition) {
        fail(function, text, line);
    }
}

std::size_t checkedIndex(const PixelBlock& block, long index, const char* function, const char* text = "Invalid index",
                         long line = __builtin_LINE())
{
    require(index >= 0 && index < block.getNumOfPlanes(), function, text, line);
    return static_cast<std::size_t>(index);
}

PixelBlock::Value valueOf(const void* bytes, long size)
{
    if (bytes == nullptr) {
        return {};
    }
    PixelBlock::Value value(new unsigned char[static_cast<std::size_t>(size)]);
    std::memcpy(value.get(), bytes, static_cast<std::size_t>(size));
    return value;
}

/* A record of a plane together with what its pixels lie in. */
PixelBlock::Plane owned(Egda_BaseData* rect, const boost::shared_ptr<void>& pixels)
{
    return {rect, PixelRectDeleter{pixels}};
}

/* Pixels that no record has in a row. */
constexpr double kTooMany = 1e10;

/* How the rows of a caller's pixels lie: `excess` pixels behind each. */
long excessOf(long width, long pixelSize, long rowPitch)
{
    const double rowBytes = static_cast<double>(width) * static_cast<double>(pixelSize);
    const double excess = (static_cast<double>(rowPitch) - rowBytes) / static_cast<double>(pixelSize);
    const double whole = std::round(excess);
    require(whole == excess, "Init", "Inter-row pitch is not an even multiple of the pixel size");
    return static_cast<long>(std::clamp(whole, -kTooMany, kTooMany));
}

/* A plane whose rows are wider than `width` is a view on a record that has the full rows. */
PixelBlock::Plane makePlane(long width, long height, Egda_PixelType type, char* base, long excess,
                            const boost::shared_ptr<void>& pixels)
{
    EerrException scope(kPath, "Init");
    PixelBlock::Plane plane =
        owned(egda_BaseDataCreate(height, width + excess, type, EGDA_RASTER_OBJECT, base, scope), pixels);
    scope.Check(__LINE__);
    if (excess != 0) {
        const Egda_BaseData parent = *plane;
        egda_BaseDataReDerive(&parent, plane.get(), 0, 0, height, width, scope);
        scope.Check(__LINE__);
    }
    return plane;
}

}  // namespace

void PixelRectDeleter::operator()(Egda_BaseData* rect) const noexcept
{
    egda_BaseDataDelete(rect, nullptr);
}

PixelBlock::PixelBlock(long noOfPlanes, long width, long height, Egda_PixelType type, const void* const* nodataValues)
{
    Init(noOfPlanes, width, height, type, nullptr, 0, 0, nodataValues);
}

PixelBlock::PixelBlock(long noOfPlanes, long width, long height, Egda_PixelType type, void* data, long planePitch,
                       long rowPitch, const void* const* nodataValues)
{
    Init(noOfPlanes, width, height, type, data, planePitch, rowPitch, nodataValues);
}

PixelBlock::PixelBlock(const Plane& plane, const Value& nodataValue, DataContentsCondition condition)
    : planes_{plane}, nodataValues_{nodataValue}, conditions_{condition}
{
}

PixelBlock::PixelBlock(const PixelBlock& other) : nodataValues_(other.nodataValues_), conditions_(other.conditions_)
{
    for (long i = 0; i < other.getNumOfPlanes(); ++i) {
        planes_.push_back(other.getPlane(i));
    }
}

PixelBlock& PixelBlock::operator=(const PixelBlock& other)
{
    PixelBlock copy(other);
    planes_.swap(copy.planes_);
    nodataValues_.swap(copy.nodataValues_);
    conditions_.swap(copy.conditions_);
    return *this;
}

PixelBlock::~PixelBlock() = default;

void PixelBlock::Init(long noOfPlanes, long width, long height, Egda_PixelType type, void* data, long planePitch,
                      long rowPitch, const void* const* nodataValues)
{
    require(noOfPlanes > 0, "Init", "Invalid noOfPlanes");
    EerrException scope(kPath, "Init");
    const long size = egda_BaseDataStackDataSize(noOfPlanes, height, width, type, EGDA_RASTER_OBJECT, scope);
    scope.Check(__LINE__);
    const long pixelSize = egda_NumBytePerPixelFromType(type);
    long excess = 0;
    boost::shared_ptr<void> pixels;
    if (data != nullptr) {
        excess = excessOf(width, pixelSize, rowPitch);
    } else {
        planePitch = size / noOfPlanes;
        data = emantle::allocateElements(size);
        require(data != nullptr, "Init", "No Memory");
        pixels.reset(data, emsc_HeapFree);
    }
    for (long i = 0; i < noOfPlanes; ++i) {
        planes_.push_back(
            makePlane(width, height, type, static_cast<char*>(data) + i * planePitch, excess, pixels));
        nodataValues_.push_back(valueOf(nodataValues == nullptr ? nullptr : nodataValues[i], pixelSize));
        conditions_.push_back(onlyNODATA);
    }
}

PixelBlock::Plane PixelBlock::getPlane(long index) const
{
    return planes_[checkedIndex(*this, index, "getPlane")];
}

void PixelBlock::getPlane(long index, PixelBlock& block) const
{
    const Plane plane = getPlane(index);
    const auto i = static_cast<std::size_t>(index);
    block = PixelBlock(plane, nodataValues_[i], conditions_[i]);
}

void PixelBlock::setPlane(long index, const PixelBlock& block)
{
    const std::size_t i = checkedIndex(*this, index, "setPlane");
    require(block.getNumOfPlanes() > 0, "setPlane", "Invalid source PixelBlock");
    const Plane source = block.getPlane(0);
    const Plane dest = getPlane(index);
    require(source->numcolumns == dest->numcolumns && source->numrows == dest->numrows &&
                source->datatype == dest->datatype,
            "setPlane", "Invalid argument");
    EerrException scope(kPath, "setPlane");
    egda_BaseDataCopy(source.get(), dest.get(), scope);
    scope.Check(__LINE__);
    nodataValues_[i] = block.nodataValues_[0];
    conditions_[i] = block.conditions_[0];
}

long PixelBlock::getWidth() const
{
    return planes_.empty() ? 0 : getPlane(0)->numcolumns;
}

long PixelBlock::getHeight() const
{
    return planes_.empty() ? 0 : getPlane(0)->numrows;
}

Egda_PixelType PixelBlock::getDataType() const
{
    return planes_.empty() ? -1 : getPlane(0)->datatype;
}

long PixelBlock::getNumOfPlanes() const noexcept
{
    return static_cast<long>(planes_.size());
}

long PixelBlock::getPlanePitch() const
{
    if (planes_.size() < 2) {
        return 0;
    }
    return static_cast<long>(reinterpret_cast<std::uintptr_t>(getPlane(1)->firstelement) -
                             reinterpret_cast<std::uintptr_t>(getPlane(0)->firstelement));
}

const void* PixelBlock::getNODATAValue(long plane) const
{
    return nodataValues_[checkedIndex(*this, plane, "getNODATAValue")].get();
}

void PixelBlock::setNODATAValue(long plane, const void* bytes)
{
    const std::size_t i = checkedIndex(*this, plane, "setNODATAValue");
    nodataValues_[i] = valueOf(bytes, getPlane(plane)->numbytes);
}

DataContentsCondition PixelBlock::getCondition(long plane) const
{
    return conditions_[checkedIndex(*this, plane, "getCondition")];
}

void PixelBlock::setCondition(long plane, DataContentsCondition condition)
{
    const std::size_t i = checkedIndex(*this, plane, "setCondition");
    require(condition != someNODATA || nodataValues_[i], "setCondition",
            "Invalid condition when no NODATA value present");
    conditions_[i] = condition;
}

void PixelBlock::setPixelToNODATA(long plane, long x, long y)
{
    const std::size_t i = checkedIndex(*this, plane, "setPixelToNODATA");
    const Plane rect = getPlane(plane);
    require(x >= 0 && x < rect->numcolumns && y >= 0 && y < rect->numrows, "setPixelToNODATA",
            "Invalid Pixel Position");
    require(static_cast<bool>(nodataValues_[i]), "setPixelToNODATA", "NODATA value not set for the plane");
    EerrException scope(kPath, "setPixelToNODATA");
    epxm_FillPixels(emantle::lineOf(*rect, y) + x * rect->numbytes, rect->datatype, nodataValues_[i].get(), 1, scope);
    scope.Check(__LINE__);
}

void PixelBlock::setPlaneToNODATA(long plane)
{
    const std::size_t i = checkedIndex(*this, plane, "setPlaneToNODATA", "Invalid Index");
    conditions_[i] = onlyNODATA;
    if (nodataValues_[i]) {
        const Plane rect = getPlane(plane);
        EerrException scope(kPath, "setPlaneToNODATA");
        epxm_FillPixels(rect->data, rect->datatype, nodataValues_[i].get(), rect->numelements, scope);
        scope.Check(__LINE__);
    }
}

void PixelBlock::setBlockToNODATA()
{
    for (long plane = 0; plane < getNumOfPlanes(); ++plane) {
        setPlaneToNODATA(plane);
    }
}

Egda_BaseDataStack* PixelBlock::asPixelRectStack() const
{
    require(!planes_.empty(), "getPixelRectStackFromPixelBlock", "Empty Pixel Block");
    EerrException scope(kPath, "getPixelRectStackFromPixelBlock");
    Egda_BaseDataStack* stack = egda_BaseDataStackDerivedFromDataLayer(getNumOfPlanes(), scope);
    scope.Check(__LINE__);
    for (long plane = 0; plane < getNumOfPlanes(); ++plane) {
        stack->datalayer[plane] = getPlane(plane).get();
    }
    return stack;
}

Egda_BaseData* PixelBlock::operator->() const
{
    require(!planes_.empty(), "operator->", "Empty Pixel Block");
    return getPlane(0).get();
}

PixelBlock::operator Egda_BaseData*() const
{
    require(!planes_.empty(), "operator Egda_BaseData*", "Empty Pixel Block");
    return getPlane(0).get();
}

ConfigurablePixelBlock::ConfigurablePixelBlock(const PixelBlock& block, long x, long y, long width, long height)
    : PixelBlock(block)
{
    for (long i = 0; i < getNumOfPlanes(); ++i) {
        const Plane plane = PixelBlock::getPlane(i);
        EerrException scope(kPath, "ConfigurablePixelBlock");
        sources_.push_back(plane);
        views_.push_back(owned(egda_BaseDataDerived(plane.get(), y, x, height, width, scope), plane));
        scope.Check(__LINE__);
    }
}

ConfigurablePixelBlock::~ConfigurablePixelBlock() = default;

/* A block that was assigned to as a plain one has more planes than views. */
PixelBlock::Plane ConfigurablePixelBlock::getPlane(long index) const
{
    const Plane plane = PixelBlock::getPlane(index);
    const auto i = static_cast<std::size_t>(index);
    return i < views_.size() ? views_[i] : plane;
}

void ConfigurablePixelBlock::getPlane(long index, PixelBlock& block) const
{
    PixelBlock::getPlane(index, block);
}

void ConfigurablePixelBlock::Reconfigure(long x, long y, long width, long height)
{
    EerrException scope(kPath, "Reconfigure");
    for (std::size_t i = 0; i < views_.size(); ++i) {
        egda_BaseDataReDerive(sources_[i].get(), views_[i].get(), y, x, height, width, scope);
        scope.Check(__LINE__);
    }
}

void ConfigurablePixelBlock::reset() noexcept
{
    static_cast<PixelBlock&>(*this) = PixelBlock();
    sources_.clear();
    views_.clear();
}

void ConfigurablePixelBlock::rederive(const PixelBlock& block, long x, long y, long width, long height,
                                      ConfigurablePixelBlock& dest)
{
    dest = ConfigurablePixelBlock(block, x, y, width, height);
}

}  // namespace epxm
