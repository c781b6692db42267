// names.cpp - compares the spellings of each known name with the given one.

#include "host/description/names.h"

#include <algorithm>

#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace {

using host::EqualIgnoringCase;
using host::HostError;
using host::Member;

constexpr std::string_view kClassPrefix = "CIFilter";
constexpr std::string_view kClassSuffix = "QOR";
constexpr std::string_view kFilterPrefix = "CI";
constexpr std::string_view kKeyPrefix = "input";
constexpr const char* kImageClass = "CIImageQOR";

bool IsInputKey(const Member& member) {
    return member.setter != nullptr && member.declaration.name.starts_with(kKeyPrefix);
}

bool IsStepMethod(const Member& member) {
    return member.declaration.kind == host::MemberKind::kMethod && member.declaration.result.word == kImageClass;
}

// A key without its "input".
std::string ShortKey(const std::string& name) {
    const bool isLong = EqualIgnoringCase(name.substr(0, kKeyPrefix.size()), kKeyPrefix);
    return isLong ? name.substr(kKeyPrefix.size()) : name;
}

// The only key that matches; null for none or several.
template <typename Matches>
const std::string* OnlyOne(const std::vector<std::string>& keys, Matches matches) {
    const auto first = std::find_if(keys.begin(), keys.end(), matches);
    const bool isOnly = first != keys.end() && std::none_of(first + 1, keys.end(), matches);
    return isOnly ? &*first : nullptr;
}

// The class that a name means among those with a short name, or null. A name in the right case wins.
const host::Class* FindFilter(host::Host& host, std::string_view name) {
    for (const bool ignoresCase : {false, true}) {
        for (const host::Class* isa : host.Classes().All()) {
            const std::string shortName = FilterShortName(isa->Name());
            if (shortName.empty()) continue;
            for (const std::string& spelling : {shortName, std::string(kFilterPrefix) + shortName, isa->Name()}) {
                if (spelling == name || (ignoresCase && EqualIgnoringCase(spelling, name))) return isa;
            }
        }
    }
    return nullptr;
}

// The name without the prefix and suffix that a short name leaves out, for suggestions.
std::string WithoutAffixes(std::string name) {
    if (const std::string shortName = FilterShortName(name); !shortName.empty()) return shortName;
    return name.starts_with(kFilterPrefix) ? name.substr(kFilterPrefix.size()) : name;
}

bool IsUpper(char letter) { return letter >= 'A' && letter <= 'Z'; }

// The words of a name in lower case, joined by underscores. A word begins at a capital letter after another kind of
// character, and at the last of several capital letters: GaussianBlur, ToPNG, CMYKHalftone.
std::string WithUnderscores(std::string_view name) {
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool isAfterOther = i > 0 && !IsUpper(name[i - 1]) && name[i - 1] != '_';
        const bool isBeforeOther = i > 0 && i + 1 < name.size() && name[i + 1] >= 'a' && name[i + 1] <= 'z';
        const bool beginsWord = IsUpper(name[i]) && (isAfterOther || (isBeforeOther && name[i - 1] != '_'));
        if (beginsWord) result += '_';
        result += IsUpper(name[i]) ? static_cast<char>(name[i] - 'A' + 'a') : name[i];
    }
    return result;
}

// "X, Y and Z"
std::string ListText(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    }
    return text;
}

}  // namespace

std::string FilterShortName(std::string_view className) {
    if (!className.starts_with(kClassPrefix) || !className.ends_with(kClassSuffix)) return {};
    if (className.size() <= kClassPrefix.size() + kClassSuffix.size()) return {};
    className.remove_prefix(kClassPrefix.size());
    className.remove_suffix(kClassSuffix.size());
    return std::string(className);
}

const host::Class& FilterNamed(host::Host& host, const std::string& name) {
    if (name.empty()) throw HostError("filter ''", "expected the name of a filter");
    if (const host::Class* filter = FindFilter(host, name)) return *filter;
    const std::vector<std::string> known = FilterNames(host);
    if (known.empty()) {
        throw HostError("filter " + name,
                        "for host version " + host::NumberText(host.Version()) + " the module registers no filters");
    }
    throw HostError("filter " + name, "there is no such filter" + host::Suggestion(WithoutAffixes(name), known));
}

const host::Class& ClassNamed(host::Host& host, const std::string& name) {
    for (const host::Class* isa : host.Classes().All()) {
        if (EqualIgnoringCase(isa->Name(), name)) return host.Classes().Linked(isa->Name());
    }
    if (const host::Class* filter = FindFilter(host, name)) return host.Classes().Linked(filter->Name());
    throw HostError("class " + name, "there is no such class" + host::Suggestion(name, ClassNames(host)));
}

StepClass StepNamed(host::Host& host, const std::string& name) {
    if (const host::Class* filter = FindFilter(host, name)) return {filter, nullptr};
    if (const host::Class* image = host.Classes().Find(kImageClass)) {
        for (const Member& member : image->Members()) {
            if (IsStepMethod(member) && EqualIgnoringCase(member.declaration.name, name)) return {image, &member};
        }
    }
    std::vector<std::string> known = FilterNames(host);
    if (known.empty()) return {&FilterNamed(host, name), nullptr};
    const std::vector<std::string> methods = StepMethodNames(host);
    known.insert(known.end(), methods.begin(), methods.end());
    throw HostError("filter " + (name.empty() ? "''" : name),
                    name.empty() ? "expected the name of a filter"
                                 : "there is no such filter" + host::Suggestion(WithoutAffixes(name), known));
}

std::vector<StepKey> KeysOf(const StepClass& step) {
    std::vector<StepKey> keys;
    if (step.method != nullptr) {
        for (const host::Parameter& parameter : step.method->declaration.parameters) {
            keys.push_back({parameter.name, parameter.type});
        }
        keys.push_back({kImageKey, step.method->declaration.result});
    } else {
        for (const std::string& key : KeyNames(*step.isa)) {
            keys.push_back({key, step.isa->FindMember(key)->declaration.result});
        }
    }
    return keys;
}

StepKey StepKeyNamed(const StepClass& step, const std::string& name, const std::string& setting) {
    const Member* exact = step.method == nullptr ? step.isa->FindMember(name) : nullptr;
    if (exact != nullptr && exact->setter != nullptr) return {name, exact->declaration.result};
    const std::vector<StepKey> keys = KeysOf(step);
    std::vector<std::string> names;
    for (const StepKey& key : keys) names.push_back(key.name);
    const std::string* key = OnlyOne(names, [&](const std::string& each) { return EqualIgnoringCase(each, name); });
    if (key == nullptr) {
        key = OnlyOne(names, [&](const std::string& each) { return EqualIgnoringCase(ShortKey(each), name); });
    }
    if (key != nullptr) return keys[static_cast<std::size_t>(key - names.data())];
    std::vector<std::string> shortKeys;
    std::string list;
    for (const std::string& each : names) {
        shortKeys.push_back(ShortKey(each));
        list += (list.empty() ? "" : ", ") + each;
    }
    // Compared without "input", suggested in full.
    std::vector<std::string> nearest = host::Nearest(ShortKey(name), shortKeys);
    for (std::string& each : nearest) {
        each = names[static_cast<std::size_t>(std::ranges::find(shortKeys, each) - shortKeys.begin())];
    }
    const std::string suggestion = host::SuggestionText(nearest);
    throw HostError(setting, step.Name() + " has no key " + name + suggestion + (suggestion.empty() ? ", " : "; ") +
                                 (list.empty() ? "it takes none" : "it takes " + list));
}

std::vector<std::string> StepMethodNames(host::Host& host) {
    std::vector<std::string> names;
    const host::Class* image = host.Classes().Find(kImageClass);
    if (image == nullptr) return names;
    for (const Member& member : image->Members()) {
        if (IsStepMethod(member)) names.push_back(member.declaration.name);
    }
    return names;
}

std::vector<std::string> FilterNames(host::Host& host) {
    std::vector<std::string> names;
    for (const host::Class* isa : host.Classes().All()) {
        if (std::string name = FilterShortName(isa->Name()); !name.empty()) names.push_back(name);
    }
    return names;
}

std::vector<std::string> ClassNames(host::Host& host) {
    std::vector<std::string> names;
    for (const host::Class* isa : host.Classes().All()) {
        const std::string shortName = FilterShortName(isa->Name());
        names.push_back(shortName.empty() ? isa->Name() : shortName);
    }
    return names;
}

std::vector<std::string> KeyNames(const host::Class& filter) {
    std::vector<std::string> names;
    for (const Member& member : filter.Members()) {
        if (IsInputKey(member)) names.push_back(member.declaration.name);
    }
    return names;
}

std::string ClassShortName(std::string_view className) { return WithUnderscores(FilterShortName(className)); }

std::string MemberShortName(std::string_view name) {
    constexpr std::string_view kAttributePrefix = "Attribute";
    if (name.starts_with(kAttributePrefix) && name.size() > kAttributePrefix.size()) {
        const std::string key = MemberShortName(name.substr(kAttributePrefix.size()));
        return (key.front() == '_' ? "attribute" : "attribute_") + key;
    }
    const bool isKey =
        name.starts_with(kKeyPrefix) && name.size() > kKeyPrefix.size() && IsUpper(name[kKeyPrefix.size()]);
    return WithUnderscores(isKey ? name.substr(kKeyPrefix.size()) : name);
}

const host::Class& ClassSpelled(host::Host& host, const std::string& name) {
    if (name.empty()) throw HostError("class ''", "expected the name of a class");
    std::vector<std::string> found;
    std::vector<std::string> known;
    for (const host::Class* isa : host.Classes().All()) {
        if (isa->Name() == name) return host.Classes().Linked(name);
        const std::string shortName = FilterShortName(isa->Name());
        const std::string underscores = WithUnderscores(shortName);
        const bool isMeant = name == shortName || name == std::string(kFilterPrefix) + shortName || name == underscores;
        if (!shortName.empty() && isMeant) found.push_back(isa->Name());
        known.push_back(shortName.empty() ? isa->Name() : IsUpper(name.front()) ? shortName : underscores);
    }
    if (found.size() == 1) return host.Classes().Linked(found.front());
    if (!found.empty()) throw HostError("class " + name, "the name is ambiguous, expected one of " + ListText(found));
    throw HostError("class " + name, "there is no such class" + host::Suggestion(WithoutAffixes(name), known));
}

DeclaredMember MemberSpelled(const host::Class& isa, const std::string& name,
                             const std::vector<Member>& (host::Class::*membersOf)() const) {
    std::vector<DeclaredMember> found;
    std::vector<std::string> known;
    for (const host::Class* each = &isa; each != nullptr; each = each->Superclass()) {
        for (const Member& member : (each->*membersOf)()) {
            const std::string& declared = member.declaration.name;
            if (member.declaration.kind == host::MemberKind::kConstructor) continue;
            if (declared == name) return {each, &member};
            known.push_back(MemberShortName(declared));
            // A member hides one of the same name in a superclass.
            const bool isHidden = std::any_of(found.begin(), found.end(), [&](const DeclaredMember& other) {
                return other.member->declaration.name == declared;
            });
            if (known.back() == name && !isHidden) found.push_back({each, &member});
        }
    }
    if (found.size() == 1) return found.front();
    const std::string subject = isa.Name() + "." + name;
    if (found.empty()) throw HostError(subject, "the class has no such member" + host::Suggestion(name, known));
    std::vector<std::string> names;
    for (const DeclaredMember& each : found) names.push_back(each.member->declaration.name);
    throw HostError(subject, "the name is ambiguous, expected one of " + ListText(names));
}
