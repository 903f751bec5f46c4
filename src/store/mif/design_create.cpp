#include "store/mif/dictionary.h"

#include <cstdarg>
#include <span>

namespace emantle::mif {

namespace {

/* An item as the caller states it. */
struct Statement {
    uint32_t flags = 0;
    const char* name = nullptr;
    int32_t count = 0;
    const Emif_Design* design = nullptr; /* x */
    const char* designName = nullptr;    /* o */
    std::vector<const char*> enumNames;  /* e */

    Emif_Type type() const noexcept { return static_cast<Emif_Type>(flags & 0xFF); }
    bool hasCount() const noexcept { return (flags & EMIF_ITEM_COUNT) != 0; }
    bool isCountedPointer() const noexcept { return (flags & EMIF_ITEM_COUNTED_POINTER) != 0; }
    bool isPointer() const noexcept { return (flags & (EMIF_ITEM_COUNTED_POINTER | EMIF_ITEM_POINTER)) != 0; }
};

HeapPtr<char*> heapNames(const std::vector<const char*>& names)
{
    HeapPtr<char*> copies = allocate<char*>(names.size());
    std::size_t made = 0;
    try {
        for (; made < names.size(); ++made) {
            copies.get()[made] = heapText(names[made]).release();
        }
    } catch (...) {
        while (made > 0) {
            emsc_HeapFree(copies.get()[--made]);
        }
        throw;
    }
    return copies;
}

class Creator {
public:
    Creator(EerrException& scope, Emif_Dictionary* dictionary) : scope_(scope), dictionary_(dictionary) {}

    DesignPtr create(const char* name, std::span<const Statement> statements)
    {
        DesignBuilder builder;
        for (const Statement& statement : statements) {
            require(statement.name, "No item name");
            fill(builder.append(), statement);
            asFunction(scope_, "emif_SetSizes", "SetSizes failed", [&] { builder.place(); });
        }
        return builder.finish(heapText(name));
    }

private:
    void fill(Emif_DesignItem& item, const Statement& statement)
    {
        item.type = statement.type();
        item.name = heapText(statement.name).release();
        item.isCountedPointer = statement.isCountedPointer();
        item.isPointer = statement.isPointer();
        item.count = statement.hasCount() ? statement.count : !statement.isCountedPointer();
        if (item.type == EMIF_TYPE_ENUM) {
            require(statement.enumNames.size() <= INT16_MAX, "An enumeration of %ld names; the most is %d",
                    static_cast<long>(statement.enumNames.size()), int{INT16_MAX});
            item.enumNames = heapNames(statement.enumNames).release();
            item.enumCount = static_cast<int16_t>(statement.enumNames.size());
        }
        asFunction(scope_, "emif_SetSizes", "SetSizes failed", [&] {
            require(item.type != kNoType && isKnown(item.type), "Invalid Emif_Type %ld", long{item.type});
            item.design = nestedDesign(item.type, statement).release();
        });
    }

    DesignPtr nestedDesign(Emif_Type type, const Statement& statement)
    {
        const Emif_Design* found = nullptr;
        if (type == EMIF_TYPE_DESIGN) {
            found = statement.design;
        } else if (type == EMIF_TYPE_NAMED_DESIGN) {
            found = checked(scope_, emif_DictionarySearchByName(dictionary_, statement.designName, scope_),
                            "emif_DictionarySearchByName failure");
        } else if (type == EMIF_TYPE_BASEDATA) {
            found = privateDesign(scope_, "Egda_BaseData");
            require(found, "EMIF_DESIGN_FETCH fail");
        } else {
            return nullptr;
        }
        return DesignPtr(checked(scope_, emif_DesignCopy(found, scope_), "emifDesignCopy failure"));
    }

    EerrException& scope_;
    Emif_Dictionary* dictionary_;
};

/* Reads the run of arguments behind the error argument. */
std::vector<Statement> statementsFrom(va_list arguments)
{
    std::vector<Statement> statements;
    for (int flags = va_arg(arguments, int); flags != 0; flags = va_arg(arguments, int)) {
        Statement statement;
        statement.flags = static_cast<uint32_t>(flags);
        statement.name = va_arg(arguments, const char*);
        switch (statement.type()) {
        case EMIF_TYPE_DESIGN:
            statement.design = va_arg(arguments, const Emif_Design*);
            break;
        case EMIF_TYPE_NAMED_DESIGN:
            statement.designName = va_arg(arguments, const char*);
            break;
        case EMIF_TYPE_ENUM:
            while (const char* name = va_arg(arguments, const char*)) {
                statement.enumNames.push_back(name);
            }
            break;
        default:
            break;
        }
        if (statement.hasCount()) {
            statement.count = va_arg(arguments, int);
        }
        statements.push_back(std::move(statement));
    }
    return statements;
}

std::vector<Statement> statementsFrom(std::span<const Emif_DesignItemRow> rows)
{
    std::vector<Statement> statements;
    for (const Emif_DesignItemRow& row : rows) {
        Statement statement;
        statement.flags = row.flags;
        statement.name = row.name;
        statement.count = row.count;
        statement.design = static_cast<const Emif_Design*>(row.extra);
        statement.designName = static_cast<const char*>(row.extra);
        if (statement.type() == EMIF_TYPE_ENUM && row.extra != nullptr) {
            for (auto name = static_cast<const char* const*>(row.extra); *name != nullptr; ++name) {
                statement.enumNames.push_back(*name);
            }
        }
        statements.push_back(std::move(statement));
    }
    return statements;
}

/* The new design, or with a dictionary that one's. */
Emif_Design* handOver(EerrException& scope, Emif_Dictionary* dictionary, DesignPtr design)
{
    if (dictionary == nullptr) {
        return design.release();
    }
    return checked(scope, emif_DictionaryAddDesign(dictionary, design.get(), scope), "emif_DictionaryAddDesign failed");
}

Emif_Design* createFromRun(const char* function, Emif_Dictionary* dictionary, const char* name, bool isPrivate,
                           Eerr_ErrorReport** err, va_list arguments)
{
    return guarded<Emif_Design*>(err, function, nullptr, [&](EerrException& scope) {
        return asFunction(scope, "emif_DesignCreateVAPtr", "emif_DesignCreateVAPtr failed", [&] {
            require(name, "Args");
            DesignPtr design = Creator(scope, dictionary).create(name, statementsFrom(arguments));
            if (isPrivate) {
                addPrivately(scope, *design);
            }
            return handOver(scope, dictionary, std::move(design));
        });
    });
}

}  // namespace

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API Emif_Design* emif_DesignCreate(Emif_DictionaryA* dictionary, const char* name, Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    Emif_Design* design = createFromRun("emif_DesignCreate", dictionary, name, false, err, arguments);
    va_end(arguments);
    return design;
}

EMANTLE_API Emif_Design* emif_DesignCreateX(Emif_DictionaryA* dictionary, const char* name, Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    Emif_Design* design = createFromRun("emif_DesignCreateX", dictionary, name, true, err, arguments);
    va_end(arguments);
    return design;
}

EMANTLE_API Emif_Design* emif_DesignCreateFromTable(Emif_DictionaryA* dictionary, const char* name,
                                                    const Emif_DesignItemRow* rows, long rowCount,
                                                    Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "emif_DesignCreateFromTable", nullptr, [&](EerrException& scope) {
        require(rows != nullptr && name != nullptr, "Args");
        const std::span table(rows, static_cast<std::size_t>(std::max(rowCount, 0L)));
        return handOver(scope, dictionary, Creator(scope, dictionary).create(name, statementsFrom(table)));
    });
}
