// registration_checks.cpp - the class records, word by word, as they were handed over.

#include <algorithm>
#include <set>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/checker/memory.h"

namespace checker {

namespace {

using host::Declaration;
using host::MemberKind;

// The newest host version whose records have the shorter layout.
constexpr double kDownLevelHost = 2011.04;

// Calls look for every record, and says so when there is none.
template <typename Look>
void ForEachRecord(Examination& examination, const StageOptions& options, Look look) {
    Stage& stage = examination.Load(options);
    for (const Record& record : stage.watch.records) {
        examination.Seen();
        look(stage, record);
    }
    examination.SkipUnlessSeen("it registers no class");
}

// Calls look for every entry of both method tables, with what the entry is called in messages.
template <typename Look>
void ForEachEntry(Examination& examination, Look look) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        for (const MethodTable* table : {&record.methods, &record.sharedMethods}) {
            for (std::size_t i = 0; i < table->entries.size(); ++i) {
                const MethodEntry& entry = table->entries[i];
                const std::string text = entry.declaration ? " \"" + *entry.declaration + "\"" : "";
                look(record, *table, entry, record.Name() + ", " + table->title + " entry " + std::to_string(i) + text);
            }
        }
    });
}

// The same for every entry whose declaration can be read.
template <typename Look>
void ForEachDeclaration(Examination& examination, Look look) {
    ForEachEntry(examination, [&](const Record& record, const MethodTable& table, const MethodEntry& entry,
                                  const std::string& where) {
        if (!entry.declaration) return;
        try {
            look(record, table, entry, host::ParseDeclaration(*entry.declaration), where);
        } catch (const host::DeclarationError&) {
            // The business of the check of declarations.
        }
    });
}

void SomeClasses(Examination& examination) {
    if (examination.Load().watch.records.empty()) examination.Report("", "at least one class", "none");
}

void Readable(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        if (!record.isReadable)
            examination.Report(record.Name(), "pointers to records, tables and texts", record.problem);
    });
}

void RecordVersion(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage& stage, const Record& record) {
        const std::int32_t announced = stage.watch.announced.empty() ? 0 : stage.watch.announced.back();
        if (record.words.version == announced) return;
        examination.Report(record.Name(), "record version " + std::to_string(announced) + ", as announced",
                           std::to_string(record.words.version));
    });
}

void DataSize(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        const ZEVAword size = record.words.instanceDataSize;
        if (size >= 0 && size % kDataSizeStep == 0) return;
        examination.Report(record.Name(), "a multiple of 16 as instance data size", std::to_string(size));
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

void ClassNames(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        if (!record.isReadable || (record.className && IsName(*record.className))) return;
        examination.Report("", "a class name of letters, digits and _",
                           record.className ? "\"" + *record.className + "\"" : "null");
    });
}

void UniqueNames(Examination& examination) {
    std::set<std::string> names;
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        if (record.className && !names.insert(*record.className).second) {
            examination.Report(*record.className, "one record of a name", "another one");
        }
    });
}

void Superclasses(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage& stage, const Record& record) {
        const std::string superclass = record.superclassName.value_or("");
        if (superclass.empty() || stage.host.Classes().Find(superclass) != nullptr) return;
        examination.Report(record.Name(), "a registered superclass", superclass);
    });
}

void NoCircles(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage& stage, const Record& record) {
        std::set<std::string> seen;
        const host::Class* isa = stage.host.Classes().Find(record.Name());
        while (isa != nullptr && seen.insert(isa->Name()).second)
            isa = stage.host.Classes().Find(isa->SuperclassName());
        if (isa != nullptr)
            examination.Report(record.Name(), "superclasses that end", "a circle through " + isa->Name());
    });
}

void Counts(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        for (const MethodTable* table : {&record.methods, &record.sharedMethods}) {
            if (table->count >= 0 && table->isNull == (table->count == 0)) continue;
            examination.Report(record.Name() + ", " + table->title,
                               table->isNull ? "count 0 for no table" : "a count above 0",
                               std::to_string(table->count));
        }
    });
}

void Declarations(Examination& examination) {
    ForEachEntry(examination,
                 [&](const Record&, const MethodTable&, const MethodEntry& entry, const std::string& where) {
                     if (!entry.declaration) return examination.Report(where, "a declaration", "null");
                     try {
                         host::ParseDeclaration(*entry.declaration);
                     } catch (const host::DeclarationError& error) {
                         examination.Report(where, "a declaration", error.what());
                     }
                 });
}

void UniqueMembers(Examination& examination) {
    std::set<std::string> known;
    ForEachDeclaration(examination, [&](const Record& record, const MethodTable& table, const MethodEntry&,
                                        const Declaration& declaration, const std::string& where) {
        // Constructors may differ in the number of their parameters.
        const bool isConstructor = declaration.kind == MemberKind::kConstructor;
        const std::string count = isConstructor ? std::to_string(declaration.parameters.size()) : "";
        const std::string key =
            std::to_string(reinterpret_cast<std::uintptr_t>(record.address)) + table.title + declaration.name + count;
        if (!known.insert(key).second) examination.Report(where, "a member once", "it a second time");
    });
}

void Functions(Examination& examination) {
    ForEachEntry(examination,
                 [&](const Record&, const MethodTable&, const MethodEntry& entry, const std::string& where) {
                     const auto* function = reinterpret_cast<const void*>(entry.function);
                     const auto* setter = reinterpret_cast<const void*>(entry.setter);
                     if (!IsCode(function))
                         examination.Report(where, "a function", function == nullptr ? "null" : "a pointer to no code");
                     if (setter != nullptr && !IsCode(setter))
                         examination.Report(where, "a setter or null", "a pointer to no code");
                 });
}

void Setters(Examination& examination) {
    ForEachDeclaration(examination, [&](const Record&, const MethodTable&, const MethodEntry& entry,
                                        const Declaration& declaration, const std::string& where) {
        if (entry.setter == nullptr || declaration.kind == MemberKind::kProperty) return;
        examination.Report(where, "no setter, as it declares no property", "one");
    });
}

void SharedConstructors(Examination& examination) {
    ForEachDeclaration(examination, [&](const Record& record, const MethodTable& table, const MethodEntry&,
                                        const Declaration& declaration, const std::string& where) {
        if (&table != &record.sharedMethods || declaration.kind != MemberKind::kConstructor) return;
        examination.Report(where, "methods and properties", "a constructor, which needs an object");
    });
}

void KnownTypes(Examination& examination) {
    ForEachDeclaration(examination, [&](const Record&, const MethodTable&, const MethodEntry&,
                                        const Declaration& declaration, const std::string& where) {
        std::vector<host::Type> types = {declaration.result};
        for (const host::Parameter& parameter : declaration.parameters) types.push_back(parameter.type);
        for (const host::Type& type : types) {
            const bool isObject = type.kind == host::TypeKind::kObject;
            if (isObject && host::Host::Current().Classes().Find(type.className) == nullptr) {
                examination.Report(where, "types of the language and registered classes", type.word);
            }
        }
    });
}

void PropertyTables(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
        const ZEVAword count = record.words.propertyCount + record.words.sharedPropertyCount;
        if (count != 0)
            examination.Report(record.Name(), "properties as method entries", std::to_string(count) + " elsewhere");
    });
}

void SpareWords(Examination& examination) {
    ForEachRecord(examination, {}, [&](Stage&, const Record& record) {
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
            if (value != 0) examination.Report(record.Name() + ", " + name, "0", std::to_string(value));
        }
    });
}

void RecordsStay(Examination& examination) {
    Stage& stage = examination.Load();
    Use(stage);
    for (const Record& record : stage.watch.records) {
        examination.Seen();
        if (Agree(record, ReadRecord(record.address))) continue;
        examination.Report(record.Name(), "the record as it was registered", "another content");
    }
    examination.SkipUnlessSeen("it registers no class");
}

void DownLevelWords(Examination& examination) {
    ForEachRecord(examination, {.hostVersion = kDownLevelHost}, [&](Stage&, const Record& record) {
        if (record.words.version != kDownLevelRecordVersion) return;
        for (const ZEVAword word : record.words.hostWords16) {
            if (word != 0) examination.Report(record.Name(), "0 in words 16 and 17", std::to_string(word));
        }
    });
}

}  // namespace

std::vector<Check> RegistrationChecks() {
    return {
        {"some-classes", "it registers a class", "registration is skipped for this host version", SomeClasses},
        {"readable", "records, tables and texts can be read",
         "a table of the layout of another record version, or a wrong count", Readable},
        {"record-version", "word 0 of each record is the announced version",
         "the word of the static record was left as it was", RecordVersion},
        {"data-size", "instance data comes in steps of 16 bytes", "word 3 was handed over without being rounded up",
         DataSize},
        {"class-names", "each class has a name of the language", "a blank or a sign in the name", ClassNames},
        {"unique-names", "no class is registered twice", "a copied record whose name was kept", UniqueNames},
        {"superclasses", "each superclass is registered", "a sibling is missing (--with), or the name is misspelt",
         Superclasses},
        {"no-circles", "no class is its own superclass", "superclass names were exchanged", NoCircles},
        {"counts", "a table has a count above 0, no table has 0", "the count was not kept up with the table", Counts},
        {"declarations", "each declaration can be read", "a letter of the declaration is wrong or missing",
         Declarations},
        {"unique-members", "no member is declared twice in a class", "a copied entry whose declaration was kept",
         UniqueMembers},
        {"functions", "functions and setters point to code",
         "function and declaration are in the wrong order, or a function is missing", Functions},
        {"setters", "only properties have setters", "parentheses where a property was meant, or a stray setter",
         Setters},
        {"shared-constructors", "constructors stand in the method table, not in the shared one",
         "the entry stands in the wrong table", SharedConstructors},
        {"known-types", "types are those of the language and registered classes",
         "a misspelt type (case matters), or a sibling is missing (--with)", KnownTypes},
        {"property-tables", "properties are declared as method entries", "this host does not read property tables",
         PropertyTables, Weight::kWarning},
        {"spare-words", "words that are the host's own are 0", "a field was written one word too far", SpareWords,
         Weight::kWarning},
        {"records-stay", "records and tables stay as they were registered",
         "a record on the stack, or one buffer for all of them", RecordsStay},
        {"down-level-words", "words 16 and 17 are 0 in records of version 9",
         "the words of the current layout were copied", DownLevelWords},
    };
}

}  // namespace checker
