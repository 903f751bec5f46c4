#include "platform/faults.h"
#include "platform/scratch_directory.h"
#include "services/catalogue_writer.h"
#include "services/localisation/catalogue_check.h"
#include "services/localisation/translator_cache.h"
#include "support/captured_stderr.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/etxt.h>
#include <emantle/services/localisation.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

using namespace OrvikLocalization;
using namespace emantle;

namespace {

#ifdef EMANTLE_TRANSLATION_MODULE
const std::string kModule = EMANTLE_TRANSLATION_MODULE;
#else
const std::string kModule;
#endif

/* Folders of catalogues, and the environment that leads to them. */
class Localisation : public testing::Test {
protected:
    Localisation()
    {
        setenv("EMANTLE_TRANSLATION_MODULE", kModule.c_str(), 1);
        setenv("ORVIK_TRANSLATIONS_PATH", folder_.path().c_str(), 1);
        speak("de_AT.UTF-8");
    }

    static void speak(const char* locale)
    {
        unsetenv("LC_ALL");
        unsetenv("LC_MESSAGES");
        setenv("LANG", locale, 1);
    }

    std::string put(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
        return folder_ / name;
    }

    ScratchDirectory folder_;
};

class Translation : public Localisation {
protected:
    void SetUp() override
    {
        if (kModule.empty()) {
            GTEST_SKIP() << "built without the module";
        }
    }
};

using Translate = void (*)(Etxt_TextU**, const char*, const char*);

std::u16string translated(const char* context, const char* source, Translate call = etxt_TranslateString)
{
    EtxtTextU text;
    call(text, context, source);
    return text ? static_cast<const Etxt_TextU*>(text) : u"(null)";
}

/* Opens a path afresh and asks it. */
std::u16string asked(const std::string& path, const std::string& context, const std::string& source)
{
    ETranslatorCache cache(translationReader());
    const auto catalogue = cache.Open(path);
    return catalogue == nullptr ? u"(none)" : catalogue->Translate(context, source);
}

bool isSound(const std::string& bytes)
{
    return isSoundCatalogue({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

std::string dialog()
{
    return CatalogueWriter().add("Dialog", "Open", u"Öffnen").add("Menu", "Open", u"Aufmachen").bytes();
}

} // namespace

TEST_F(Translation, AMessageIsFoundByContextAndSource)
{
    const std::u16string lengthy(70000, u'x');
    put("emantle.qm", CatalogueWriter()
                          .add("Dialog", "Open", u"Öffnen")
                          .add("Menu", "Open", u"Aufmachen")
                          .add("Menu", "Größe", u"Size \U0001F600")
                          .add("Menu", "Long", lengthy)
                          .add("Menu", "Fits", lengthy.substr(0, 256))
                          .add("Menu", "Over", lengthy.substr(0, 257))
                          .add("", "Bare", u"Bloß")
                          .bytes());
    const struct {
        const char *context, *source;
        std::u16string expected;
    } cases[] = {
        {"Dialog", "Open", u"Öffnen"},
        {"Menu", "Open", u"Aufmachen"},
        {"Other", "Open", u"Open"},
        {"Menu", "Größe", u"Size \U0001F600"},
        {"Menu", "Long", lengthy},
        {"Menu", "Fits", lengthy.substr(0, 256)},
        {"Menu", "", u""},
        {"Menu", "Over", lengthy.substr(0, 257)},
        {"Menu", nullptr, u""},
        {nullptr, "Bare", u"Bloß"},
        {"Menu", "Schließen", u"Schließen"},
    };
    for (const auto& [context, source, expected] : cases) {
        EXPECT_EQ(translated(context, source), expected) << (source == nullptr ? "(null)" : source);
    }
    etxt_TranslateString(nullptr, "Menu", "Open");
}

TEST_F(Translation, ACountryGoesBeforeItsLanguageAndEachMessageForItself)
{
    const ScratchDirectory second;
    setenv("TRANSLATIONS_OF_TEST", folder_.path().c_str(), 1);
    setenv("ORVIK_TRANSLATIONS_PATH", (";$TRANSLATIONS_OF_TEST/;" + second.path()).c_str(), 1);
    put("emantle_de.qm", CatalogueWriter().add("M", "January", u"Januar").add("M", "May", u"Mai").bytes());
    put("emantle.qm", CatalogueWriter().add("M", "Utm", u"UTM").bytes());
    std::ofstream(second / "emantle_de_AT.qm") << CatalogueWriter().add("M", "January", u"Jänner").bytes();
    /* Hidden by the file of the first folder. */
    std::ofstream(second / "emantle.qm") << CatalogueWriter().add("M", "June", u"hidden").bytes();

    const struct {
        const char *locale, *source;
        std::u16string expected;
    } cases[] = {
        {"de_AT", "January", u"Jänner"},
        {"de_AT", "May", u"Mai"},
        {"de_AT", "Utm", u"UTM"},
        {"de_AT", "June", u"June"},
        {"de_CH@x", "January", u"Januar"},
        {"de", "January", u"Januar"},
        {"fr_FR.UTF-8", "January", u"January"},
        {"fr_FR", "Utm", u"UTM"},
        {"C", "Utm", u"UTM"},
    };
    for (const auto& [locale, source, expected] : cases) {
        speak(locale);
        EXPECT_EQ(translated("M", source), expected) << locale << ' ' << source;
    }
}

TEST_F(Translation, ATranslatorHasAModuleAndAContextOfItsOwn)
{
    const std::string path = put("scene_de.qm", dialog());
    const ETranslator translator("lib/scene.so", "Menu");
    const ETranslator copy = translator;
    EXPECT_EQ(copy.GetTranslationModulePath(), path);
    EXPECT_EQ(copy.Translate("Open"), L"Aufmachen");
    EXPECT_EQ(copy.Translate("Open", "Dialog"), L"Öffnen");
    EXPECT_EQ(copy.Translate("Close"), L"");
    EXPECT_EQ(copy.Translate(""), L"");
    EXPECT_EQ(ETranslator("absent", "").GetTranslationModulePath(), "");

    auto& list = ETranslatorList::Instance();
    const ETranslator* const entry = list.Open("$ORVIK_TRANSLATIONS_PATH", "scene");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->Translate("Open", "Dialog"), L"Öffnen");
    EXPECT_EQ(list.Open(folder_.path(), "scene"), entry);
    EXPECT_NE(list.Open(folder_.path()), entry);
}

TEST_F(Localisation, WithoutAPathTheSourceStaysAndTheTranslatorReports)
{
    for (const char* path : {"", "$ORVIK_TRANSLATIONS_PATH", ";"}) {
        setenv("ORVIK_TRANSLATIONS_PATH", path, 1);
        EXPECT_EQ(stderrOf([] { EXPECT_EQ(translated("Menu", "Größe"), u"Größe"); }), "") << path;
        try {
            const ETranslator translator("scene", "Menu");
            ADD_FAILURE() << path;
        } catch (EerrException& caught) {
            EXPECT_STREQ(static_cast<Eerr_ErrorReport*>(caught)->message, "Unable to get translation module path");
            caught.Clear();
        }
    }
    unsetenv("ORVIK_TRANSLATIONS_PATH");
    EXPECT_EQ(ETranslatorList::Instance().Open("$ORVIK_TRANSLATIONS_PATH"), nullptr);
    EXPECT_EQ(ETranslatorList::Instance().Open(";;"), nullptr);
    EXPECT_EQ(translated(nullptr, nullptr), u"");
}

TEST_F(Localisation, TheLocaleIsTheFirstOfThreeVariables)
{
    const struct {
        const char *all, *messages, *lang, *expected;
    } cases[] = {
        {"", "", "", "C"},
        {"", "", "pt_BR.UTF-8", "pt_BR"},
        {"", "de_DE@euro", "pt_BR", "de_DE"},
        {"sr_RS.UTF-8@latin", "de", "pt", "sr_RS"},
        {"", "", "POSIX", "C"},
        {"C.UTF-8", "", "de", "C"},
        {"../../etc/x", "", "de", "C"},
        {"", "", "de/../../x", "C"},
        {"", "", ".UTF-8", "C"},
    };
    for (const auto& [all, messages, lang, expected] : cases) {
        setenv("LC_ALL", all, 1);
        setenv("LC_MESSAGES", messages, 1);
        setenv("LANG", lang, 1);
        EXPECT_EQ(ELocale::Instance().Name(), expected) << all << '|' << messages << '|' << lang;
    }
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
}

TEST_F(Translation, OnlyRegularFilesOfABoundedSizeAreRead)
{
    EXPECT_EQ(asked(put("good.qm", dialog()), "Menu", "Open"), u"Aufmachen");
    EXPECT_EQ(asked(folder_ / "absent.qm", "Menu", "Open"), u"(none)");
    EXPECT_EQ(asked(folder_.path(), "Menu", "Open"), u"(none)");
    EXPECT_EQ(asked(put("empty.qm", ""), "Menu", "Open"), u"(none)");
    ASSERT_EQ(mkfifo((folder_ / "pipe.qm").c_str(), 0600), 0);
    EXPECT_EQ(asked(folder_ / "pipe.qm", "Menu", "Open"), u"(none)");
    std::filesystem::resize_file(put("large.qm", dialog()), (64 << 20) + 1);
    EXPECT_EQ(asked(folder_ / "large.qm", "Menu", "Open"), u"(none)");
    const platform::FaultInjection fault(platform::Operation::read, 1, platform::Outcome::shortTransfer(0));
    EXPECT_EQ(asked(folder_ / "good.qm", "Menu", "Open"), u"(none)");
}

TEST(Catalogue, LengthsAndOffsetsThatLieAreRefused)
{
    using W = CatalogueWriter;
    const std::string open = W::number(W::hashOf("Open")), record = W::item(3, "ab") + '\1';
    const auto file = [&](std::uint32_t offset, const std::string& records) {
        return W::magic() + W::item(0x42, open + W::number(offset)) + W::item(0x69, records);
    };
    const auto withContexts = [&](const std::string& table) { return file(0, record) + W::item(0x2f, table); };
    ASSERT_TRUE(isSound(dialog()));
    ASSERT_TRUE(isSound(file(0, record)));
    ASSERT_TRUE(isSound(withContexts({0, 1, 0, 1, 0, 0, 1, 'M', 0})));

    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"another magic", std::string(16, 'x')},
        {"a section longer than the file", W::magic() + '\x42' + W::number(0xfffffff8) + open},
        {"two sections of a kind", dialog() + W::item(0x69, record)},
        {"half a pair", W::magic() + W::item(0x42, open) + W::item(0x69, record)},
        {"no messages", W::magic() + W::item(0x42, open + W::number(0))},
        {"an offset behind the messages", file(8, record)},
        {"an offset far away", file(0x80000000, record)},
        {"an offset into a record", file(1, record)},
        {"a record without an end", file(0, W::item(3, "ab"))},
        {"a text longer than its record", file(0, '\6' + W::number(9) + "ab\1")},
        {"a text of no length", file(0, '\3' + W::number(0xffffffff) + "\1")},
        {"half a length", file(0, record + '\3' + '\0')},
        {"an item of no kind", file(0, W::item(12, "ab") + '\1')},
        {"a catalogue that opens others", dialog() + W::item(0x96, W::item(0, "emantle.qm"))},
        {"contexts without a table", withContexts({0, 0, 0, 1, 0})},
        {"a table longer than its section", withContexts({0, 9, 0, 1, 0, 0})},
        {"a chain behind its section", withContexts({0, 1, 0, 3, 0, 0, 1, 'M', 0})},
    };
    for (const auto& [what, bytes] : cases) {
        EXPECT_FALSE(isSound(bytes)) << what;
    }
}

TEST_F(Translation, EveryTruncationAndEveryDamagedByteIsSurvived)
{
    const std::string whole =
        CatalogueWriter().add("Dialog", "Open", u"Öffnen").add("Menu", "Open", u"Auf").list({"Dialog", "Menu"}).bytes();
    ASSERT_EQ(asked(put("whole.qm", whole), "Menu", "Open"), u"Auf");
    ASSERT_EQ(asked(folder_ / "whole.qm", "Other", "Open"), u"");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        asked(put("cut.qm", whole.substr(0, size)), "Menu", "Open");
    }
    int refused = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int mask : {0x01, 0x10, 0x80, 0xff}) {
            std::string damaged = whole;
            damaged[at] = static_cast<char>(damaged[at] ^ mask);
            refused += asked(put("damaged.qm", damaged), "Menu", "Open") == u"(none)";
        }
    }
    EXPECT_GT(refused, 4 * 16);
}

TEST_F(Translation, AFileIsOpenedOnceHoweverManyThreadsAsk)
{
    put("emantle_de.qm", dialog());
    const platform::FaultInjection opened(platform::Operation::open, 0, {}, platform::Repeat::once, folder_.path());
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 200; ++n) {
                ASSERT_EQ(translated("Dialog", "Open"), u"Öffnen");
                ASSERT_EQ(translated("Dialog", "Close"), u"Close");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(opened.calls(), 1u);
}

TEST_F(Translation, TheLibraryFindsTheModuleBesideItself)
{
    put("emantle.qm", dialog());
    unsetenv("EMANTLE_TRANSLATION_MODULE");
    void* const library = dlopen(EMANTLE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto call = reinterpret_cast<Translate>(dlsym(library, "etxt_TranslateString"));
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(translated("Menu", "Open", call), u"Aufmachen");
}

TEST_F(Localisation, WithoutTheModuleTheSourceStays)
{
    TranslationReader reader{};
    EXPECT_FALSE(loadTranslationReader("", reader));
    EXPECT_FALSE(loadTranslationReader(folder_ / "absent.so", reader));
    /* A library, but not that one. */
    EXPECT_FALSE(loadTranslationReader("libm.so.6", reader));
    EXPECT_EQ(ETranslatorCache(nullptr).Open(put("emantle.qm", dialog())), nullptr);

    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("EMANTLE_TRANSLATION_MODULE", (folder_ / "absent.so").c_str(), 1);
            std::exit(translated("Menu", "Open") == u"Open" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^$");
}
