// documentation_test.cpp - docs/companion.md lists exactly the members that are registered, as they are declared.

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "tests/companion/companion_test.h"

namespace {

// The members of each class; shared members have the prefix "shared ".
using Members = std::map<std::string, std::set<std::string>>;

std::string TextOf(const host::Declaration& declaration) {
    std::string text = declaration.name;
    if (declaration.kind == host::MemberKind::kMethod) text += host::ParameterText(declaration);
    if (declaration.result.kind != host::TypeKind::kNone) text += " as " + declaration.result.word;
    return text;
}

void Add(const host::Class& isa, Members& members) {
    auto& own = members[isa.Name()];
    for (const host::Member& member : isa.Members()) own.insert(TextOf(member.declaration));
    for (const host::Member& member : isa.SharedMembers()) own.insert("shared " + TextOf(member.declaration));
}

// Reads the page. Headings name classes; shared members follow "Of the class:" and end at the next line "Of ...".
Members Documented() {
    Members members;
    std::ifstream page(ZEVA_COMPANION_PAGE);
    std::string line, className, prefix;
    while (std::getline(page, line)) {
        if (line.starts_with("## ")) {
            className = line.substr(3);
            members[className];
            prefix.clear();
        }
        if (line.starts_with("Of ")) prefix = line == "Of the class:" ? "shared " : "";
        if (line.starts_with("| `")) members[className].insert(prefix + line.substr(3, line.find('`', 3) - 3));
    }
    return members;
}

TEST_F(CompanionTest, DocumentListsExactlyTheRegisteredMembers) {
    Members registered;
    for (const host::Class* isa : host.Modules()[0]->classes) Add(*isa, registered);
    for (const char* name : {"MemoryBlock", "RuntimeException"}) Add(*host.Classes().Find(name), registered);
    const Members documented = Documented();
    for (const auto& [name, members] : registered) {
        ASSERT_TRUE(documented.contains(name)) << name << " is not documented";
        EXPECT_EQ(documented.at(name), members) << name;
    }
    EXPECT_EQ(documented.size(), registered.size());
}

}  // namespace
