#ifndef EMANTLE_DATA_EPXM_PIXELRECT_H
#define EMANTLE_DATA_EPXM_PIXELRECT_H

#include <emantle/data/egda/stack.h>

/* epxm, pixel rectangles: rasters, and stacks of them.
 *  1. Width comes before height here, where rows come before columns in the records below.
 *  2. What is returned is the caller's; give it back to the Delete of its kind, which accepts null.
 *  3. On failure the result is null, with the report of the record's own function behind this one's. */

/* How two masks combine: either is set; both are set; the first is 0 and the second exactly 1. */
enum { EPXM_MASK_OR = 0, EPXM_MASK_AND = 1, EPXM_MASK_NOT_AND = 2 };

/* Combines two byte masks line by line into a third, which may be one of them: 1 where `operation` holds, else 0. Fails
 * with 1 when a mask is smaller than `nLines` lines of `nPerLine` bytes, 2 for an unknown operation; both reports name
 * eaoi_MaskOperation. */
EMANTLE_API void epxm_MaskOperation(Egda_BaseData* dest, const Egda_BaseData* a, const Egda_BaseData* b, long nPerLine,
                                    long nLines, long operation, Eerr_ErrorReport** err);

EMANTLE_API Egda_BaseData* epxm_PixelRectCreate(long width, long height, Egda_PixelType type, Eerr_ErrorReport** err);
EMANTLE_API Egda_BaseData* epxm_PixelRectCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err);
EMANTLE_API void epxm_PixelRectDelete(Egda_BaseData* rect, Eerr_ErrorReport** err);

EMANTLE_API Egda_BaseDataStack* epxm_PixelRectStackCreate(long nLayers, long width, long height, Egda_PixelType type,
                                                          Eerr_ErrorReport** err);
EMANTLE_API Egda_BaseDataStack* epxm_PixelRectStackCopy(const Egda_BaseDataStack* src, Egda_BaseDataStack* dest,
                                                        Eerr_ErrorReport** err);
EMANTLE_API void epxm_PixelRectStackDelete(Egda_BaseDataStack* stack, Eerr_ErrorReport** err);

#ifdef __cplusplus

/* Owns one rectangle, or none. Copies are deep; a copy that fails throws an EerrException. */
class EMANTLE_CLASS EpxmPixelRect {
public:
    EpxmPixelRect() noexcept = default;
    /* Takes `rect` over. */
    explicit EpxmPixelRect(Egda_BaseData* rect) noexcept : rect_(rect) {}
    EpxmPixelRect(const EpxmPixelRect& other);
    EpxmPixelRect(EpxmPixelRect&& other) noexcept : rect_(other.rect_) { other.rect_ = nullptr; }
    ~EpxmPixelRect() { Free(); }

    /* Takes `rect` over in place of the present one. */
    EpxmPixelRect& operator=(Egda_BaseData* rect) noexcept;
    EpxmPixelRect& operator=(const EpxmPixelRect& other);
    EpxmPixelRect& operator=(EpxmPixelRect&& other) noexcept;

    void Free() noexcept;

    operator Egda_BaseData*() const noexcept { return rect_; }
    Egda_BaseData* operator->() const noexcept { return rect_; }
    bool operator!() const noexcept { return rect_ == nullptr; }
    operator bool() const noexcept { return rect_ != nullptr; }
    operator bool() noexcept { return rect_ != nullptr; } /* or a test would go by the output argument below */
    /* The handle as an output argument: what it held is freed first. */
    operator Egda_BaseData**() noexcept;

private:
    Egda_BaseData* rect_ = nullptr;
};

/* Owns one stack, or none. Copies are deep; what fails throws an EerrException. */
class EMANTLE_CLASS EpxmPixelRectStack {
public:
    EpxmPixelRectStack() noexcept = default;
    /* Takes `stack` over. */
    explicit EpxmPixelRectStack(Egda_BaseDataStack* stack) noexcept : stack_(stack) {}
    /* `numLayers` layers of one U1 pixel. */
    explicit EpxmPixelRectStack(int numLayers);
    /* A stack whose one layer is `rect`; with `derived` 0 the stack owns it. Throws for a null `rect`. */
    EpxmPixelRectStack(Egda_BaseData* rect, Emsc_Boolean derived);
    EpxmPixelRectStack(const EpxmPixelRectStack& other);
    EpxmPixelRectStack(EpxmPixelRectStack&& other) noexcept : stack_(other.stack_) { other.stack_ = nullptr; }
    virtual ~EpxmPixelRectStack() { Free(); }

    /* Takes `stack` over in place of the present one. */
    EpxmPixelRectStack& operator=(Egda_BaseDataStack* stack) noexcept;
    EpxmPixelRectStack& operator=(const EpxmPixelRectStack& other);
    EpxmPixelRectStack& operator=(EpxmPixelRectStack&& other) noexcept;

    void Free() noexcept;

    /* Layer `index`, which must exist; it stays the stack's. */
    Egda_BaseData* datalayer(int index) const noexcept { return stack_->datalayer[index]; }

    operator Egda_BaseDataStack*() const noexcept { return stack_; }
    Egda_BaseDataStack* operator->() const noexcept { return stack_; }
    bool operator!() const noexcept { return stack_ == nullptr; }
    operator bool() const noexcept { return stack_ != nullptr; }
    operator bool() noexcept { return stack_ != nullptr; } /* or a test would go by the output argument below */
    /* The handle as an output argument: what it held is freed first. */
    operator Egda_BaseDataStack**() noexcept;

private:
    Egda_BaseDataStack* stack_ = nullptr;
};

/* An array that owns its stacks. Copies make new stacks and share the mask; what fails throws an EerrException. */
class EMANTLE_CLASS EpxmPixelRectStackArray : public Egda_BaseDataStackArray {
public:
    EpxmPixelRectStackArray() noexcept : Egda_BaseDataStackArray{} {}
    EpxmPixelRectStackArray(const EpxmPixelRectStackArray& other);
    EpxmPixelRectStackArray& operator=(const EpxmPixelRectStackArray& other);
    ~EpxmPixelRectStackArray();

    /* Takes `stack` over as the last one; it stays the caller's when this throws. */
    void AddStack(Egda_BaseDataStack* stack);
};

#endif
#endif
