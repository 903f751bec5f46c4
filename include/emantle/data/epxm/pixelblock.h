#ifndef EMANTLE_DATA_EPXM_PIXELBLOCK_H
#define EMANTLE_DATA_EPXM_PIXELBLOCK_H

#include <emantle/data/egda/stack.h>

#ifdef __cplusplus

#include <boost/shared_array.hpp>
#include <boost/shared_ptr.hpp>
#include <vector>

/* epxm, blocks of planes that know their NODATA value and what they hold.
 *  1. Planes are rasters of one type and size. Copies of a block, and blocks that getPlane gives, share its planes; the
 *     last holder frees the pixels. NODATA values and conditions belong to each block of its own.
 *  2. A NODATA value has the plane's type and is kept as a copy of its bytes.
 *  3. Everything that fails throws an EerrException and leaves the block as it was. An index that is not a plane's is
 *     "Invalid index". */
namespace epxm {

enum DataContentsCondition : int32_t {
    onlyNODATA = 0,
    noNODATA = 1,
    someNODATA = 2 /* needs a NODATA value */
};

/* Frees the record of a plane, and lets go of what its pixels lie in. */
struct EMANTLE_CLASS PixelRectDeleter {
    boost::shared_ptr<void> pixels;

    void operator()(Egda_BaseData* rect) const noexcept;
};

class EMANTLE_CLASS PixelBlock {
public:
    using Plane = boost::shared_ptr<Egda_BaseData>;
    using Value = boost::shared_array<unsigned char>;

    /* No planes. */
    PixelBlock() noexcept = default;
    /* New planes, zero-filled, in one block of memory. `nodataValues` is null or has one address for each plane, null
     * for none. Each plane starts as onlyNODATA. */
    PixelBlock(long noOfPlanes, long width, long height, Egda_PixelType type,
               const void* const* nodataValues = nullptr);
    /* Planes over the caller's pixels, which must outlive all holders: `planePitch` bytes from plane to plane,
     * `rowPitch` bytes, a whole number of pixels, from row to row. Null `data` acts as the constructor above. */
    PixelBlock(long noOfPlanes, long width, long height, Egda_PixelType type, void* data, long planePitch,
               long rowPitch, const void* const* nodataValues = nullptr);
    /* What getPlane of `other` gives, so a copy of a window has the window's planes. */
    PixelBlock(const PixelBlock& other);
    PixelBlock& operator=(const PixelBlock& other);
    virtual ~PixelBlock();

    /* Makes `block` a block of the one plane, shared. */
    virtual void getPlane(long index, PixelBlock& block) const;
    /* Copies the pixels of the first plane of `block`, which must have the same size and type, and takes its NODATA
     * value and its condition. */
    virtual void setPlane(long index, const PixelBlock& block);
    /* Pixels; 0 without planes. */
    virtual long getWidth() const;
    virtual long getHeight() const;

    /* The type of plane 0; -1 without planes. */
    Egda_PixelType getDataType() const;
    long getNumOfPlanes() const noexcept;
    /* Bytes from plane 0 to plane 1; 0 when there are fewer. */
    long getPlanePitch() const;

    /* The bytes of the value, which stay the block's; null for none. */
    const void* getNODATAValue(long plane) const;
    /* Null clears the value. */
    void setNODATAValue(long plane, const void* bytes);
    DataContentsCondition getCondition(long plane) const;
    void setCondition(long plane, DataContentsCondition condition);

    /* The condition stays. Throws where the plane has no NODATA value. */
    void setPixelToNODATA(long plane, long x, long y);
    /* The condition becomes onlyNODATA, and the pixels the NODATA value if there is one, as a single run of width times
     * height pixels: where rows lie further apart, the run covers the gaps and ends before the last rows. */
    void setPlaneToNODATA(long plane);
    void setBlockToNODATA();

    /* A stack that borrows the planes; the caller's. The block must outlive it. Throws without planes. */
    Egda_BaseDataStack* asPixelRectStack() const;

    /* Plane 0, which stays the block's. Throw without planes. */
    Egda_BaseData* operator->() const;
    operator Egda_BaseData*() const;

protected:
    PixelBlock(const Plane& plane, const Value& nodataValue, DataContentsCondition condition);

    virtual Plane getPlane(long index) const;

private:
    void Init(long noOfPlanes, long width, long height, Egda_PixelType type, void* data, long planePitch,
              long rowPitch, const void* const* nodataValues);

    std::vector<Plane> planes_;
    std::vector<Value> nodataValues_;
    std::vector<DataContentsCondition> conditions_;
};

/* A window on another block that can be moved without touching its pixels.
 *  1. It holds the planes of the source block, so pixels of the block's own live as long as it does, and has the
 *     source's NODATA values and conditions of that moment as its own.
 *  2. Reconfigure moves the planes that copies and getPlane have given out as well. */
class EMANTLE_CLASS ConfigurablePixelBlock : public virtual PixelBlock {
public:
    ConfigurablePixelBlock() noexcept = default;
    ConfigurablePixelBlock(const PixelBlock& block, long x, long y, long width, long height);
    ConfigurablePixelBlock(const ConfigurablePixelBlock& other) = default;
    ConfigurablePixelBlock& operator=(const ConfigurablePixelBlock& other) = default;
    ~ConfigurablePixelBlock() override;

    void getPlane(long index, PixelBlock& block) const override;

    /* Aims every view at another window; throws where it is not inside the source, and then no view has moved. */
    void Reconfigure(long x, long y, long width, long height);
    /* Empties the block. */
    void reset() noexcept;

    /* Makes `dest` a window on `block`. */
    static void rederive(const PixelBlock& block, long x, long y, long width, long height,
                         ConfigurablePixelBlock& dest);

protected:
    Plane getPlane(long index) const override;

private:
    std::vector<Plane> sources_;
    std::vector<Plane> views_;
};

}  // namespace epxm

#endif
#endif
