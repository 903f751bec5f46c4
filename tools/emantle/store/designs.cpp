#include "store/designs.h"

#include "console/owned.h"

#include <emantle/frame/emsc.h>

namespace tool {

namespace {

using DesignPtr = Owned<Emif_Design, emif_DesignDelete>;
using DictionaryPtr = Owned<Emif_Dictionary, emif_DictionaryDelete>;

/* Whether the dictionary has these designs in their order; designs that they contain may stand between. */
bool holdsAll(const Emif_Dictionary& dictionary, const std::vector<std::string>& texts)
{
    auto next = texts.begin();
    for (const std::string& text : designTexts(dictionary)) {
        next += next != texts.end() && *next == text ? 1 : 0;
    }
    return next == texts.end();
}

}  // namespace

std::string designText(const Emif_Design& design)
{
    Reports reports;
    const DesignPtr copy(emif_DesignCopy(&design, reports));
    reports.check("a design cannot be told");
    Emif_Dictionary alone{0, copy.get(), copy.get()};
    char* encoded = emif_DictionaryEncodeToString(&alone, reports);
    std::string text = encoded == nullptr ? "" : encoded;
    emsc_HeapFree(encoded);
    reports.check("a design cannot be told");
    text.pop_back();
    return text;
}

std::vector<std::string> designTexts(const Emif_Dictionary& dictionary)
{
    std::vector<std::string> texts;
    for (const Emif_Design* design = dictionary.first; design != nullptr; design = design->next) {
        texts.push_back(designText(*design));
    }
    return texts;
}

void takeDesigns(Ehfa_File* file, const Emif_Dictionary& designs)
{
    Reports reports;
    ehfa_DictionaryMergeWithFileDictionary(file, &designs, reports);
    reports.check("the dictionary cannot be taken");
    file->dictionary->changed = 1;
}

void takeDesigns(Ehfa_File* file, const std::vector<std::string>& texts)
{
    std::string text;
    for (const std::string& one : texts) {
        text += one;
    }
    text += '.';
    Reports reports;
    const DictionaryPtr designs(emif_DictionaryDecodeFromString(text.c_str(), reports));
    reports.check("the dictionary cannot be read");
    if (!designs || !holdsAll(*designs, texts)) {
        throw Failure("the dictionary cannot be read");
    }
    takeDesigns(file, *designs);
}

void bringDesign(const Ehfa_File& from, Ehfa_File& to, const char* type)
{
    Reports reports;
    const Emif_Design* design = emif_FindDesignByName(from.dictionary, type, reports);
    reports.check("the dictionary cannot be searched");
    if (design == nullptr) {
        return;
    }
    const Emif_Design* present = emif_FindDesignByName(to.dictionary, type, reports);
    reports.check("the dictionary cannot be searched");
    if (present == nullptr) {
        emif_DictionaryAddDesign(to.dictionary, design, reports);
        reports.check("the dictionary cannot be written");
    } else if (designText(*present) != designText(*design)) {
        throw Failure(std::string("the design ") + oneLine(type) + " is another one there");
    }
}

}  // namespace tool
