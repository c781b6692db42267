// registration_checks.cpp - the class records, word by word, as the module registered them.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/checker/memory.h"

namespace checker {

namespace {

using host::Declaration;
using host::MemberKind;

// A host version whose records have the shorter layout.
constexpr double kDownLevelHost = 2011.04;

// Calls visit for every record. Skips the check when there is none.
template <typename Visit>
void ForEachRecord(CheckContext& context, const StageOptions& options, Visit visit) {
    Stage& stage = context.Load(options);
    for (const Record& record : stage.watch.records) {
        context.CountSubject();
        visit(stage, record);
    }
    context.SkipWithoutSubjects("the module registers no class");
}

// Calls visit for every entry of both method tables, with the entry's name for messages.
template <typename Visit>
void ForEachEntry(CheckContext& context, Visit visit) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        for (const MethodTable* table : {&record.methods, &record.sharedMethods}) {
            for (std::size_t i = 0; i < table->entries.size(); ++i) {
                const MethodEntry& entry = table->entries[i];
                const std::string text = entry.declaration ? " \"" + *entry.declaration + "\"" : "";
                visit(record, *table, entry,
                      record.Name() + ", " + table->title + " entry " + std::to_string(i) + text);
            }
        }
    });
}

// Calls visit for every entry whose declaration can be parsed.
template <typename Visit>
void ForEachDeclaration(CheckContext& context, Visit visit) {
    ForEachEntry(context, [&](const Record& record, const MethodTable& table, const MethodEntry& entry,
                              const std::string& where) {
        if (!entry.declaration) return;
        try {
            visit(record, table, entry, host::ParseDeclaration(*entry.declaration), where);
        } catch (const host::DeclarationError&) {
            // registration.declarations reports it.
        }
    });
}

void SomeClasses(CheckContext& context) {
    if (context.Load().watch.records.empty()) context.AddFinding("", "at least one class", "none");
}

void ReadableTables(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        if (!record.isReadable) context.AddFinding(record.Name(), "readable records, tables and texts", record.problem);
    });
}

void RecordVersion(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage& stage, const Record& record) {
        const std::int32_t announced = stage.watch.announced.empty() ? 0 : stage.watch.announced.back();
        if (record.words.version == announced) return;
        context.AddFinding(record.Name(), "record version " + std::to_string(announced) + ", as announced",
                           std::to_string(record.words.version));
    });
}

void DataSize(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        const ZEVAword size = record.words.instanceDataSize;
        if (size >= 0 && size % kDataSizeStep == 0) return;
        context.AddFinding(record.Name(), "a multiple of 16 as instance data size", std::to_string(size));
    });
}

bool IsName(const std::string& text) {
    try {
        const Declaration declaration = host::ParseDeclaration(text);
        return declaration.name == text;
    } catch (const host::DeclarationError&) {
        return false;
    }
}

void ClassNames(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        if (!record.isReadable || (record.className && IsName(*record.className))) return;
        context.AddFinding("", "a class name of letters, digits and _",
                           record.className ? "\"" + *record.className + "\"" : "null");
    });
}

void UniqueNames(CheckContext& context) {
    std::set<std::string> names;
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        if (record.className && !names.insert(*record.className).second) {
            context.AddFinding(*record.className, "a name of its own", "a second record with this name");
        }
    });
}

void Superclasses(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage& stage, const Record& record) {
        const std::string superclass = record.superclassName.value_or("");
        if (superclass.empty() || stage.host.Classes().Find(superclass) != nullptr) return;
        context.AddFinding(record.Name(), "a registered superclass", superclass);
    });
}

void NoCircles(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage& stage, const Record& record) {
        std::set<std::string> seen;
        const host::Class* isa = stage.host.Classes().Find(record.Name());
        while (isa != nullptr && seen.insert(isa->Name()).second)
            isa = stage.host.Classes().Find(isa->SuperclassName());
        if (isa != nullptr)
            context.AddFinding(record.Name(), "a chain of superclasses that ends", "a cycle through " + isa->Name());
    });
}

void Counts(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        for (const MethodTable* table : {&record.methods, &record.sharedMethods}) {
            if (table->count >= 0 && table->isNull == (table->count == 0)) continue;
            context.AddFinding(record.Name() + ", " + table->title,
                               table->isNull ? "count 0 for a missing table" : "a count above 0",
                               std::to_string(table->count));
        }
    });
}

void Declarations(CheckContext& context) {
    ForEachEntry(context, [&](const Record&, const MethodTable&, const MethodEntry& entry, const std::string& where) {
        if (!entry.declaration) return context.AddFinding(where, "a declaration", "null");
        try {
            host::ParseDeclaration(*entry.declaration);
        } catch (const host::DeclarationError& error) {
            context.AddFinding(where, "a declaration that can be parsed", error.what());
        }
    });
}

void UniqueMembers(CheckContext& context) {
    std::set<std::string> known;
    ForEachDeclaration(context, [&](const Record& record, const MethodTable& table, const MethodEntry&,
                                    const Declaration& declaration, const std::string& where) {
        // Constructors may be overloaded by the number of their parameters.
        const bool isConstructor = declaration.kind == MemberKind::kConstructor;
        const std::string count = isConstructor ? std::to_string(declaration.parameters.size()) : "";
        const std::string key =
            std::to_string(reinterpret_cast<std::uintptr_t>(record.address)) + table.title + declaration.name + count;
        if (!known.insert(key).second) context.AddFinding(where, "one declaration of the member", "a second one");
    });
}

void Functions(CheckContext& context) {
    ForEachEntry(context, [&](const Record&, const MethodTable&, const MethodEntry& entry, const std::string& where) {
        const auto* function = reinterpret_cast<const void*>(entry.function);
        const auto* setter = reinterpret_cast<const void*>(entry.setter);
        if (!IsCode(function))
            context.AddFinding(where, "a function",
                               function == nullptr ? "null" : "a pointer outside executable memory");
        if (setter != nullptr && !IsCode(setter))
            context.AddFinding(where, "a setter or null", "a pointer outside executable memory");
    });
}

void Setters(CheckContext& context) {
    ForEachDeclaration(context, [&](const Record&, const MethodTable&, const MethodEntry& entry,
                                    const Declaration& declaration, const std::string& where) {
        if (entry.setter == nullptr || declaration.kind == MemberKind::kProperty) return;
        context.AddFinding(where, "no setter, because the declaration is not a property", "a setter");
    });
}

void SharedConstructors(CheckContext& context) {
    ForEachDeclaration(context, [&](const Record& record, const MethodTable& table, const MethodEntry&,
                                    const Declaration& declaration, const std::string& where) {
        if (&table != &record.sharedMethods || declaration.kind != MemberKind::kConstructor) return;
        context.AddFinding(where, "methods and properties", "a constructor");
    });
}

void KnownTypes(CheckContext& context) {
    ForEachDeclaration(context, [&](const Record&, const MethodTable&, const MethodEntry&,
                                    const Declaration& declaration, const std::string& where) {
        std::vector<host::Type> types = {declaration.result};
        for (const host::Parameter& parameter : declaration.parameters) types.push_back(parameter.type);
        for (const host::Type& type : types) {
            const bool isObject = type.kind == host::TypeKind::kObject;
            if (isObject && host::Host::Current().Classes().Find(type.className) == nullptr) {
                context.AddFinding(where, "built-in types and registered classes", type.word);
            }
        }
    });
}

void PropertyTables(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        const ZEVAword count = record.words.propertyCount + record.words.sharedPropertyCount;
        if (count != 0)
            context.AddFinding(record.Name(), "properties in the method table",
                               std::to_string(count) + " in property tables");
    });
}

void SpareWords(CheckContext& context) {
    ForEachRecord(context, {}, [&](Stage&, const Record& record) {
        const ZEVAclassDefinitionDownLevel& words = record.words;
        const std::pair<const char*, ZEVAword> spare[] = {
            {"word 6", words.hostWord6},          {"word 12", words.pairCount},
            {"word 13", words.hostWords13[0]},    {"word 14", words.hostWords13[1]},
            {"word 15", words.hostWords13[2]},    {"word 16", words.hostWords16[0]},
            {"word 17", words.hostWords16[1]},    {"word 19", words.tripleCount},
            {"word 25", record.trailingWords[0]}, {"word 26", record.trailingWords[1]},
            {"word 27", record.trailingWords[2]}, {"word 28", record.trailingWords[3]},
        };
        for (const auto& [name, value] : spare) {
            if (value != 0) context.AddFinding(record.Name() + ", " + name, "0", std::to_string(value));
        }
    });
}

void RecordsStay(CheckContext& context) {
    Stage& stage = context.Load();
    UseEveryClass(stage);
    for (const Record& record : stage.watch.records) {
        context.CountSubject();
        if (Agree(record, ReadRecord(record.address))) continue;
        context.AddFinding(record.Name(), "the record unchanged since registration", "different content");
    }
    context.SkipWithoutSubjects("the module registers no class");
}

void DownLevelWords(CheckContext& context) {
    ForEachRecord(context, {.hostVersion = kDownLevelHost}, [&](Stage&, const Record& record) {
        if (record.words.version != kDownLevelRecordVersion) return;
        for (const ZEVAword word : record.words.hostWords16) {
            if (word != 0) context.AddFinding(record.Name(), "0 in words 16 and 17", std::to_string(word));
        }
    });
}

}  // namespace

std::vector<Check> RegistrationChecks() {
    return {
        {"some-classes", "the module registers a class", "registration is skipped for this host version", SomeClasses},
        {"readable", "records, tables and texts can be read",
         "a table in the layout of another record version, or a wrong count", ReadableTables},
        {"record-version", "word 0 of each record is the announced version", "the static record keeps a fixed version",
         RecordVersion},
        {"data-size", "the instance data size is a multiple of 16 bytes", "word 3 was not rounded up", DataSize},
        {"class-names", "each class name is a valid identifier", "a space or a punctuation mark in the name",
         ClassNames},
        {"unique-names", "no class is registered twice", "a record was copied without a new name", UniqueNames},
        {"superclasses", "each superclass is registered", "a sibling is missing (--with), or the name is misspelled",
         Superclasses},
        {"no-circles", "no class inherits from itself", "two superclass names were swapped", NoCircles},
        {"counts", "a table has a count above 0, a missing table has count 0",
         "the count was not updated with the table", Counts},
        {"declarations", "each declaration can be parsed", "a typing error in the declaration", Declarations},
        {"unique-members", "no member is declared twice in a class", "an entry was copied without a new declaration",
         UniqueMembers},
        {"functions", "functions and setters point to code",
         "function and declaration are in the wrong order, or a function is missing", Functions},
        {"setters", "only properties have setters",
         "a property was declared with parentheses, or a method was given a setter", Setters},
        {"shared-constructors", "constructors are in the method table, not in the shared one",
         "the entry is in the wrong table", SharedConstructors},
        {"known-types", "each type is built in or a registered class",
         "a misspelled type (case matters), or a sibling is missing (--with)", KnownTypes},
        {"property-tables", "properties are declared in the method table",
         "the module uses property tables, which this host does not read", PropertyTables, Severity::kWarning},
        {"spare-words", "words reserved for the host are 0", "a field was written one word too far", SpareWords,
         Severity::kWarning},
        {"records-stay", "records and tables stay unchanged after registration",
         "the record is on the stack, or one buffer is used for all records", RecordsStay},
        {"down-level-words", "words 16 and 17 are 0 in records of version 9",
         "the words were copied from a record with the current layout", DownLevelWords},
    };
}

}  // namespace checker
