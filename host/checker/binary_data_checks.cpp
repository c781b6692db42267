// binary_data_checks.cpp - properties whose type is MemoryBlock: writing and reading both copy the bytes.

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/memory_block.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::Value;

constexpr std::int32_t kSize = 64;

void Overwrite(const Value& value) {
    const auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(ObjectIn(value).Get());
    for (std::int32_t i = 0; i < block->size; ++i) block->bytes[i] = 0xEE;
}

std::string SizeText(const Value& block) {
    return IsNil(block) ? "nil" : std::to_string(BytesOf(block).size()) + " bytes";
}

// Calls visit with a new object for each writable MemoryBlock property.
template <typename Visit>
void ForEachBlock(CheckContext& context, Stage& stage, Visit visit) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            if (!IsWritable(property) || property.declaration.result.className != "MemoryBlock") continue;
            {
                const ObjectReference object = stage.New(*isa);
                if (!object) continue;
                context.CountSubject();
                visit(object, property, MemberName(*isa, property));
            }
            stage.watch.Settle();
        }
    }
    context.SkipWithoutSubjects("no class has a writable property of type memoryblock");
}

// Writes blocks of these sizes and expects to read the same bytes.
template <std::size_t kCount>
void RoundTrip(CheckContext& context, const std::int32_t (&sizes)[kCount]) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        for (const std::int32_t size : sizes) {
            const Value written = MakeBlock(size, 1);
            if (!stage.Write(object, property, written).Succeeded()) continue;
            const Value read = stage.Read(object, property).value;
            if (BytesOf(read) == BytesOf(written)) continue;
            const bool isAsLong = BytesOf(read).size() == BytesOf(written).size();
            context.AddFinding(where, "the " + SizeText(written) + " that were written",
                               isAsLong ? "other bytes" : SizeText(read));
        }
    });
}

void Arrives(CheckContext& context) { RoundTrip(context, {kSize}); }

void Sizes(CheckContext& context) { RoundTrip(context, {1, 3, 17, 4096, 100'001}); }

void CopiedIn(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        const Value written = MakeBlock(kSize, 1);
        if (!stage.Write(object, property, written).Succeeded()) return;
        const std::string before = BytesOf(stage.Read(object, property).value);
        Overwrite(written);
        if (BytesOf(stage.Read(object, property).value) != before) {
            context.AddFinding(where, "the bytes at the time of writing", "later changes to the block");
        }
    });
}

void CopiedOut(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        stage.Write(object, property, MakeBlock(kSize, 1));
        const Value read = stage.Read(object, property).value;
        if (IsNil(read)) return;
        const std::string before = BytesOf(read);
        Overwrite(read);
        if (BytesOf(stage.Read(object, property).value) != before) {
            context.AddFinding(where, "the bytes that were written", "changes to the block that was read");
        }
    });
}

void NewBlock(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        stage.Write(object, property, MakeBlock(kSize, 1));
        const Value first = stage.Read(object, property).value, second = stage.Read(object, property).value;
        if (!IsNil(first) && first == second) context.AddFinding(where, "a new block for each read", "the same one");
    });
}

void NilAndEmpty(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        for (const Value& nothing : {Value(), MakeBlock(0)}) {
            stage.Write(object, property, MakeBlock(kSize, 1));
            const std::string before = BytesOf(stage.Read(object, property).value);
            stage.Write(object, property, nothing);
            const Value after = stage.Read(object, property).value;
            if (IsNil(after) || BytesOf(after) == before) continue;
            context.AddFinding(where, "the old bytes or nil after writing " + SizeText(nothing), SizeText(after));
        }
    });
}

void GivenBack(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        const Value written = MakeBlock(kSize, 1);
        stage.Write(object, property, written);
        const int held = stage.watch.objects.HeldTo(ObjectIn(written).Get());
        if (held > 0) context.AddFinding(where, "no reference to the block after the call", std::to_string(held));
    });
}

void Bounds(CheckContext& context) {
    Stage& stage = context.Load({.guardsBlocks = true});
    ForEachBlock(context, stage, [&](const ObjectReference& object, const Member& property, const auto&) {
        for (const std::int32_t size : {1, 7, 64, 4096}) {
            stage.Write(object, property, MakeBlock(size, 1));
            stage.Read(object, property);
        }
    });
}

}  // namespace

std::vector<Check> BinaryDataChecks() {
    return {
        {"arrives", "bytes that were written are read back",
         "the bytes are not stored, or the getter reads another property", Arrives},
        {"sizes", "blocks of any size are read back complete", "the size is rounded, or the buffer has a fixed size",
         Sizes},
        {"copied-in", "changing a block after it was written changes nothing",
         "the setter keeps the pointer instead of copying the bytes", CopiedIn},
        {"copied-out", "changing a block that was read changes nothing",
         "the returned block shares its bytes with the object", CopiedOut},
        {"new-block", "each read returns a new block", "the getter keeps the block and returns it again", NewBlock},
        {"nil-and-empty", "writing nil or an empty block is harmless", "size and pointer are used without a test",
         NilAndEmpty},
        {"given-back", "the module releases a block after it was written",
         "the setter locks the block for copying and does not unlock it", GivenBack},
        {"bounds", "no access goes beyond the bytes of a block",
         "one byte too many is copied, as for a zero-terminated text", Bounds},
    };
}

}  // namespace checker
