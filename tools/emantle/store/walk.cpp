#include "store/walk.h"

#include "console/interrupt.h"

namespace tool {

namespace {

template <class OnStep>
void step(Ehfa_File* file, const OnStep& onStep)
{
    long left = ehfa_FileSize(file) / 128 + 1;
    int depth = 0;
    const auto move = [&](long method) {
        Reports reports;
        const bool moved = ehfa_EntrySeek(file, method, nullptr, reports) != nullptr;
        return moved && !reports.failed();
    };
    while (left-- > 0) {
        if (onStep(depth) && move(EHFA_SEEK_CHILD)) {
            ++depth;
            continue;
        }
        while (depth > 0 && !move(EHFA_SEEK_NEXT)) {
            if (!move(EHFA_SEEK_PARENT)) {
                return;
            }
            --depth;
        }
        if (depth == 0) {
            return;
        }
    }
    throw Failure(std::string(file->name) + ": its entries lead back to each other");
}

}  // namespace

void walk(Ehfa_File* file, const Visit& visit)
{
    step(file, [&](int depth) {
        throwIfInterrupted();
        return visit({depth, file->entryPtr, currentNode(file), *file->entry});
    });
}

std::vector<Place> placesBelow(Ehfa_File* file)
{
    std::vector<Place> places;
    step(file, [&](int depth) {
        places.push_back({depth, file->entryPtr});
        return true;
    });
    return places;
}

}  // namespace tool
