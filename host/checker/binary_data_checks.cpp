// binary_data_checks.cpp - properties that are MemoryBlocks: bytes are copied in both directions.

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

// Calls look with a new object for each writable MemoryBlock property.
template <typename Look>
void ForEachBlock(Examination& examination, Stage& stage, Look look) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            if (!IsWritable(property) || property.declaration.result.className != "MemoryBlock") continue;
            {
                const ObjectReference object = stage.New(*isa);
                if (!object) continue;
                examination.Seen();
                look(object, property, MemberName(*isa, property));
            }
            stage.watch.Settle();
        }
    }
    examination.SkipUnlessSeen("no class has a writable property of type memoryblock");
}

// Writes blocks of these sizes and expects the same bytes back.
template <std::size_t kCount>
void ComeBack(Examination& examination, const std::int32_t (&sizes)[kCount]) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        for (const std::int32_t size : sizes) {
            const Value written = MakeBlock(size, 1);
            if (!stage.Write(object, property, written).IsGood()) continue;
            const Value read = stage.Read(object, property).value;
            if (BytesOf(read) == BytesOf(written)) continue;
            const bool isAsLong = BytesOf(read).size() == BytesOf(written).size();
            examination.Report(where, "the " + SizeText(written) + " that were written",
                               isAsLong ? "others" : SizeText(read));
        }
    });
}

void Arrives(Examination& examination) { ComeBack(examination, {kSize}); }

void Sizes(Examination& examination) { ComeBack(examination, {1, 3, 17, 4096, 100'001}); }

void CopiedIn(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        const Value written = MakeBlock(kSize, 1);
        if (!stage.Write(object, property, written).IsGood()) return;
        const std::string before = BytesOf(stage.Read(object, property).value);
        Overwrite(written);
        if (BytesOf(stage.Read(object, property).value) != before) {
            examination.Report(where, "the bytes as they were when written", "what became of the block afterwards");
        }
    });
}

void CopiedOut(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        stage.Write(object, property, MakeBlock(kSize, 1));
        const Value read = stage.Read(object, property).value;
        if (IsNil(read)) return;
        const std::string before = BytesOf(read);
        Overwrite(read);
        if (BytesOf(stage.Read(object, property).value) != before) {
            examination.Report(where, "the bytes as they were written", "what became of the block that was read");
        }
    });
}

void NewBlock(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        stage.Write(object, property, MakeBlock(kSize, 1));
        const Value first = stage.Read(object, property).value, second = stage.Read(object, property).value;
        if (!IsNil(first) && first == second) examination.Report(where, "a new block for each read", "the same one");
    });
}

void NilAndEmpty(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        for (const Value& nothing : {Value(), MakeBlock(0)}) {
            stage.Write(object, property, MakeBlock(kSize, 1));
            const std::string before = BytesOf(stage.Read(object, property).value);
            stage.Write(object, property, nothing);
            const Value after = stage.Read(object, property).value;
            if (IsNil(after) || BytesOf(after) == before) continue;
            examination.Report(where, "the bytes before or nil, after writing " + SizeText(nothing), SizeText(after));
        }
    });
}

void GivenBack(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto& where) {
        const Value written = MakeBlock(kSize, 1);
        stage.Write(object, property, written);
        const int held = stage.watch.objects.HeldTo(ObjectIn(written).Get());
        if (held > 0) examination.Report(where, "no reference to the block after the call", std::to_string(held));
    });
}

void Bounds(Examination& examination) {
    Stage& stage = examination.Load({.guardsBlocks = true});
    ForEachBlock(examination, stage, [&](const ObjectReference& object, const Member& property, const auto&) {
        for (const std::int32_t size : {1, 7, 64, 4096}) {
            stage.Write(object, property, MakeBlock(size, 1));
            stage.Read(object, property);
        }
    });
}

}  // namespace

std::vector<Check> BinaryDataChecks() {
    return {
        {"arrives", "bytes that are written can be read", "the bytes are not stored, or another property's are read",
         Arrives},
        {"sizes", "blocks of any size come back whole", "the size is rounded, or there is a fixed buffer", Sizes},
        {"copied-in", "changing a block after writing changes nothing",
         "the block's pointer is kept instead of its bytes", CopiedIn},
        {"copied-out", "changing a block that was read changes nothing", "the block that is answered shares its bytes",
         CopiedOut},
        {"new-block", "each read answers a new block", "the block is kept and answered again", NewBlock},
        {"nil-and-empty", "nil and empty blocks are harmless", "size and pointer are used without being looked at",
         NilAndEmpty},
        {"given-back", "a block that is written is given back", "the lock that was taken for copying is not given back",
         GivenBack},
        {"bounds", "no byte beyond a block is touched", "one byte too many is copied, as for a text", Bounds},
    };
}

}  // namespace checker
