#include "frame/guard/guard.h"

#include <emantle/data/epxm/pixelrect.h>
#include <emantle/frame/emsc/heap.h>

#include <limits>
#include <memory>
#include <utility>

namespace {

/* Calls `make` with an error argument and throws what it leaves there. */
template <class Make>
auto madeOrThrown(const char* function, Make&& make, long line = __builtin_LINE())
{
    EerrException scope(OrvikLog::Literal{function});
    auto made = make(scope);
    scope.Check(line);
    return made;
}

Egda_BaseData* copyOf(const Egda_BaseData* rect)
{
    return rect == nullptr ? nullptr : madeOrThrown("EpxmPixelRect", [&](EerrException& scope) {
        return epxm_PixelRectCopy(rect, nullptr, scope);
    });
}

Egda_BaseDataStack* copyOf(const Egda_BaseDataStack* stack)
{
    return stack == nullptr ? nullptr : madeOrThrown("EpxmPixelRectStack", [&](EerrException& scope) {
        return epxm_PixelRectStackCopy(stack, nullptr, scope);
    });
}

[[noreturn]] void throwText(const char* function, const char* text, long line = __builtin_LINE())
{
    EerrException(OrvikLog::Literal{function}).Throw(line, text);
}

struct DeleteStack {
    void operator()(Egda_BaseDataStack* stack) const noexcept { epxm_PixelRectStackDelete(stack, nullptr); }
};

}  // namespace

EpxmPixelRect::EpxmPixelRect(const EpxmPixelRect& other) : rect_(copyOf(other.rect_)) {}

EpxmPixelRect& EpxmPixelRect::operator=(Egda_BaseData* rect) noexcept
{
    if (rect != rect_) {
        Free();
        rect_ = rect;
    }
    return *this;
}

EpxmPixelRect& EpxmPixelRect::operator=(const EpxmPixelRect& other)
{
    return this == &other ? *this : *this = copyOf(other.rect_);
}

EpxmPixelRect& EpxmPixelRect::operator=(EpxmPixelRect&& other) noexcept
{
    return this == &other ? *this : *this = std::exchange(other.rect_, nullptr);
}

void EpxmPixelRect::Free() noexcept
{
    epxm_PixelRectDelete(std::exchange(rect_, nullptr), nullptr);
}

EpxmPixelRect::operator Egda_BaseData**() noexcept
{
    Free();
    return &rect_;
}

EpxmPixelRectStack::EpxmPixelRectStack(int numLayers)
    : stack_(madeOrThrown("EpxmPixelRectStack", [&](EerrException& scope) {
          return epxm_PixelRectStackCreate(numLayers, 1, 1, EGDA_TYPE_U1, scope);
      }))
{
}

EpxmPixelRectStack::EpxmPixelRectStack(Egda_BaseData* rect, Emsc_Boolean derived)
{
    if (rect == nullptr) {
        throwText("EpxmPixelRectStack", "EpxmPixelRectStack::Invalid arguments for constructor");
    }
    stack_ = madeOrThrown("EpxmPixelRectStack", [&](EerrException& scope) {
        return egda_BaseDataStackPtrCreate(1, scope);
    });
    stack_->datalayer[0] = rect;
    stack_->derivedFlag = derived;
}

EpxmPixelRectStack::EpxmPixelRectStack(const EpxmPixelRectStack& other) : stack_(copyOf(other.stack_)) {}

EpxmPixelRectStack& EpxmPixelRectStack::operator=(Egda_BaseDataStack* stack) noexcept
{
    if (stack != stack_) {
        Free();
        stack_ = stack;
    }
    return *this;
}

EpxmPixelRectStack& EpxmPixelRectStack::operator=(const EpxmPixelRectStack& other)
{
    return this == &other ? *this : *this = copyOf(other.stack_);
}

EpxmPixelRectStack& EpxmPixelRectStack::operator=(EpxmPixelRectStack&& other) noexcept
{
    return this == &other ? *this : *this = std::exchange(other.stack_, nullptr);
}

void EpxmPixelRectStack::Free() noexcept
{
    epxm_PixelRectStackDelete(std::exchange(stack_, nullptr), nullptr);
}

EpxmPixelRectStack::operator Egda_BaseDataStack**() noexcept
{
    Free();
    return &stack_;
}

EpxmPixelRectStackArray::EpxmPixelRectStackArray(const EpxmPixelRectStackArray& other) : EpxmPixelRectStackArray()
{
    mask = other.mask;
    for (long i = 0; i < other.numstacks; ++i) {
        std::unique_ptr<Egda_BaseDataStack, DeleteStack> copy(copyOf(other.stacks[i]));
        AddStack(copy.get());
        copy.release();
    }
}

EpxmPixelRectStackArray& EpxmPixelRectStackArray::operator=(const EpxmPixelRectStackArray& other)
{
    EpxmPixelRectStackArray copy(other);
    std::swap<Egda_BaseDataStackArray>(*this, copy);
    return *this;
}

EpxmPixelRectStackArray::~EpxmPixelRectStackArray()
{
    for (long i = 0; i < numstacks; ++i) {
        epxm_PixelRectStackDelete(stacks[i], nullptr);
    }
    emsc_HeapFree(stacks);
}

void EpxmPixelRectStackArray::AddStack(Egda_BaseDataStack* stack)
{
    const long size = (numstacks + 1L) * static_cast<long>(sizeof(Egda_BaseDataStack*));
    void* grown = numstacks == std::numeric_limits<std::int32_t>::max() ? nullptr : emsc_HeapRealloc(stacks, size);
    if (grown == nullptr) {
        throwText("EpxmPixelRectStackArray::AddStack", "No memory");
    }
    stacks = static_cast<Egda_BaseDataStack**>(grown);
    stacks[numstacks++] = stack;
}
