#include "store/copy_tree.h"

#include "console/owned.h"
#include "store/delete_node.h"
#include "store/designs.h"

namespace tool {

namespace {

using PositionPtr = Owned<Ehfa_EntryPosition, ehfa_EntryPositionFree>;

std::string pathless(const Content& content, const Failure& failure)
{
    return oneLine(content.name) + ": " + failure.what();
}

/* The entries at `places`, each with its depth less `above`. */
void copyPlaces(const OpenStore& source, const std::vector<Place>& places, int above, TreeWriter& writer,
                Ehfa_File* target, const std::string* nameOfFirst, Progress& progress)
{
    const ReadBytes read = bytesOf(source.get());
    double done = 0;
    for (const Place& place : places) {
        progress.update(done++, static_cast<double>(places.size()));
        if (place.depth <= above) {
            continue;
        }
        Content content = contentOf(read, entryAt(read, place.position));
        if (nameOfFirst != nullptr && done == 1) {
            content.name = *nameOfFirst;
        }
        try {
            if (source.get() != target) {
                bringDesign(*source.get(), *target, content.type.c_str());
            }
            writer.add(place.depth - above, content);
        } catch (const Interrupted&) {
            throw;
        } catch (const Failure& failure) {
            throw Failure(pathless(content, failure));
        }
    }
}

void deletePartialCopy(Ehfa_File* target, const Ehfa_EntryPosition* parent, std::uint32_t position)
{
    Reports unheard;
    if (ehfa_EntryPositionSet(target, parent, unheard) == 0 || ehfa_EntrySeek(target, EHFA_SEEK_CHILD, nullptr, unheard) == nullptr) {
        return;
    }
    ehfa_EntrySeek(target, EHFA_SEEK_LAST, nullptr, unheard);
    if (target->entryPtr == position) {
        deleteCurrent(target);
    }
}

}  // namespace

void TreeWriter::add(int depth, const Content& content)
{
    Reports reports;
    for (; depth_ > depth; --depth_) {
        ehfa_EntrySeek(file_, EHFA_SEEK_PARENT, nullptr, reports);
        reports.check("the node above is gone");
    }
    writeContent(file_, depth == depth_ ? EHFA_WRITE_AFTER : EHFA_WRITE_LAST_CHILD, content);
    depth_ = depth;
}

void copyStore(const OpenStore& source, Ehfa_File* target, Progress& progress)
{
    source.seek(":");
    const double modified = source.get()->entry->modTime;
    const std::vector<Place> places = placesBelow(source.get());
    takeDesigns(target, *source.get()->dictionary);
    TreeWriter writer(target);
    copyPlaces(source, places, 0, writer, target, nullptr, progress);
    setRootTime(target, modified);
}

void copyNode(const OpenStore& source, const std::string& node, Ehfa_File* target, const std::string& name,
              Progress& progress)
{
    Reports reports;
    const PositionPtr parent(ehfa_EntryPositionGet(target, reports));
    reports.check("the new place cannot be told");
    source.seek(node);
    const std::vector<Place> places = placesBelow(source.get());
    ehfa_EntryPositionSet(target, parent.get(), reports);
    reports.check("the new place cannot be found");
    std::uint32_t first = 0;
    TreeWriter writer(target);
    try {
        copyPlaces(source, {places.begin(), places.begin() + 1}, -1, writer, target, &name, progress);
        first = target->entryPtr;
        copyPlaces(source, {places.begin() + 1, places.end()}, -1, writer, target, nullptr, progress);
    } catch (...) {
        deletePartialCopy(target, parent.get(), first);
        throw;
    }
}

void setRootTime(Ehfa_File* file, double modified)
{
    constexpr long kTimeInEntry = 120;
    Reports reports;
    ehfa_FileMIFDataWrite(file, static_cast<long>(file->rootEntryPtr) + kTimeInEntry, sizeof modified, &modified, reports);
    reports.check("cannot be written");
}

}  // namespace tool
