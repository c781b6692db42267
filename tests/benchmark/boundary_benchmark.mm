// boundary_benchmark.mm - times calls through the module's method table, and the same messages sent directly.
//
// Each operation is timed twice. "module/..." calls the accessor like a host. "direct/..." sends the messages that the
// accessor sends and makes the same host object. Everything else is equal: one filter, and one pool for every 1000
// calls. Registration is timed as a whole, with a host that only stores the pointers.
//
// Threads: one.

#import <CoreImage/CoreImage.h>
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "bridge/host_objects.h"
#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/host_version.h"
#include "interface/services.h"

namespace {

constexpr int kCallsPerPool = 1000;

// A minimal host: it stores the class records, and its objects are plain memory.
std::map<std::string, ZEVAclassDefinition*>* records = nullptr;
double hostVersion = kNewestHostVersion;

void RegisterClass(ZEVAclassDefinition* record) {
    if (records != nullptr) (*records)[record->record.className] = record;
}
void RegisterPluginVersion(std::int32_t) {}
double GetVersion() { return hostVersion; }

// Not inlined: the compiler removes the allocation when it sees both this function and Drop.
__attribute__((noinline)) ZEVAobjectStruct* NewInstance(const char*) {
    return static_cast<ZEVAobjectStruct*>(std::calloc(1, 40));
}

// Frees an object and releases the Objective-C object that it wraps, as its class would.
void Drop(ZEVAobjectStruct* object) {
    [reinterpret_cast<ValueObject*>(object)->wrapped release];
    std::free(object);
}

// Sets the entry to the function when the name is that of the service.
template <typename Listed>
void Offer(const char* name, typename Listed::Signature* function, ZEVAentry* entry) {
    if (std::strcmp(name, Listed::kName) == 0) *entry = reinterpret_cast<ZEVAentry>(function);
}

ZEVAentry Resolve(const char* name) {
    ZEVAentry entry = nullptr;
    Offer<service::PluginRegisterClass>(name, RegisterClass, &entry);
    Offer<service::RegisterPluginVersion>(name, RegisterPluginVersion, &entry);
    Offer<service::ZEVAGetZVVersion>(name, GetVersion, &entry);
    Offer<service::PluginNewInstance>(name, NewInstance, &entry);
    return entry;
}

ZEVAmain* Module() {
    static void* handle = dlopen(ZEVA_FILTERS_MODULE, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<ZEVAmain*>(dlsym(handle, kZEVAentryPoint));
}

// Returns the method table entry with a declaration. Registers the module's classes on the first call.
const ZEVAmethodDownLevel& Method(const char* className, const char* declaration) {
    static auto* known = [] {
        records = new std::map<std::string, ZEVAclassDefinition*>;
        Module()(Resolve);
        return records;
    }();
    const ZEVAclassDefinitionDownLevel& record = known->at(className)->record;
    for (ZEVAword i = 0; i < record.methodCount; ++i) {
        const ZEVAmethodDownLevel& method = record.methods[i].entry;
        if (std::strcmp(method.declaration, declaration) == 0) return method;
    }
    std::abort();
}

// A host object of a filter class, together with its filter.
struct Filter {
    explicit Filter(const char* filterName) : memory(NewInstance(nullptr)) {
        fields = reinterpret_cast<FilterObject*>(memory);
        fields->filter = [[CIFilter filterWithName:[NSString stringWithUTF8String:filterName]] retain];
        [fields->filter setDefaults];
    }
    ~Filter() {
        [fields->attributeCache release];
        [fields->filter release];
        std::free(memory);
    }
    Filter(const Filter&) = delete;

    ZEVAobjectStruct* memory;
    FilterObject* fields;
};

// Times a call, with one autorelease pool for many calls.
template <typename Call>
void Time(benchmark::State& state, Call call) {
    while (state.KeepRunningBatch(kCallsPerPool)) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        for (int i = 0; i < kCallsPerPool; ++i) call(i);
        [pool drain];
    }
}

void ModuleGetNumber(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    auto* get = reinterpret_cast<double (*)(ZEVAobjectStruct*)>(
        Method("CIFilterGaussianBlurQOR", "inputRadius as double").function);
    Time(state, [&](int) { benchmark::DoNotOptimize(get(filter.memory)); });
}

void DirectGetNumber(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    Time(state,
         [&](int) { benchmark::DoNotOptimize([[filter.fields->filter valueForKey:@"inputRadius"] doubleValue]); });
}

void ModuleSetNumber(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    auto* set = reinterpret_cast<void (*)(ZEVAobjectStruct*, double)>(
        Method("CIFilterGaussianBlurQOR", "inputRadius as double").setter);
    Time(state, [&](int i) { set(filter.memory, i); });
}

void DirectSetNumber(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    Time(state, [&](int i) {
        [filter.fields->filter setValue:[NSNumber numberWithFloat:static_cast<float>(i)] forKey:@"inputRadius"];
    });
}

// A property whose value is an object, and the value to use.
struct ObjectProperty {
    const char* filterName;
    const char* className;
    const char* declaration;
    NSString* key;
    id value;
};

ObjectProperty ImageProperty() {
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0 alpha:1]];
    return {"CIGaussianBlur", "CIFilterGaussianBlurQOR", "inputImage as CIImageQOR", @"inputImage", image};
}

ObjectProperty VectorProperty() {
    CIVector* vector = [CIVector vectorWithX:1 Y:2];
    return {"CIBumpDistortion", "CIFilterBumpDistortionQOR", "inputCenter as CIVectorQOR", @"inputCenter", vector};
}

void ModuleGetObject(benchmark::State& state, ObjectProperty (*makeProperty)()) {
    const ObjectProperty property = makeProperty();
    Filter filter(property.filterName);
    [filter.fields->filter setValue:property.value forKey:property.key];
    auto* get = reinterpret_cast<ZEVAobjectStruct* (*)(ZEVAobjectStruct*)>(
        Method(property.className, property.declaration).function);
    Time(state, [&](int) { Drop(get(filter.memory)); });
}

void DirectGetObject(benchmark::State& state, ObjectProperty (*makeProperty)()) {
    const ObjectProperty property = makeProperty();
    Filter filter(property.filterName);
    [filter.fields->filter setValue:property.value forKey:property.key];
    Time(state, [&](int) {
        ZEVAobjectStruct* object = NewInstance(property.className);
        reinterpret_cast<ValueObject*>(object)->wrapped = [[filter.fields->filter valueForKey:property.key] retain];
        Drop(object);
    });
}

void ModuleSetObject(benchmark::State& state, ObjectProperty (*makeProperty)()) {
    const ObjectProperty property = makeProperty();
    Filter filter(property.filterName);
    auto* set = reinterpret_cast<void (*)(ZEVAobjectStruct*, ZEVAobjectStruct*)>(
        Method(property.className, property.declaration).setter);
    ZEVAobjectStruct* wrapper = NewInstance(property.className);
    reinterpret_cast<ValueObject*>(wrapper)->wrapped = [property.value retain];
    Time(state, [&](int) { set(filter.memory, wrapper); });
    Drop(wrapper);
}

void DirectSetObject(benchmark::State& state, ObjectProperty (*makeProperty)()) {
    const ObjectProperty property = makeProperty();
    Filter filter(property.filterName);
    Time(state, [&](int) { [filter.fields->filter setValue:property.value forKey:property.key]; });
}

// Frees an attribute object and releases its key and its attribute.
void DropAttribute(ZEVAobjectStruct* object) {
    [reinterpret_cast<AttributeObject*>(object)->key release];
    Drop(object);
}

void ModuleGetAttribute(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    auto* get = reinterpret_cast<ZEVAobjectStruct* (*)(ZEVAobjectStruct*)>(
        Method("CIFilterGaussianBlurQOR", "AttributeinputRadius as CIAttributeQOR").function);
    Time(state, [&](int) { DropAttribute(get(filter.memory)); });
}

void DirectGetAttribute(benchmark::State& state) {
    Filter filter("CIGaussianBlur");
    NSDictionary* attributes = [filter.fields->filter attributes];
    Time(state, [&](int) {
        id attribute = [attributes objectForKey:@"inputRadius"];
        if (![attribute isKindOfClass:[NSDictionary class]]) std::abort();
        ZEVAobjectStruct* object = NewInstance("CIAttributeQOR");
        reinterpret_cast<AttributeObject*>(object)->key = [@"inputRadius" retain];
        reinterpret_cast<AttributeObject*>(object)->attribute = [attribute retain];
        DropAttribute(object);
    });
}

// The module's class records as they were before the first registration, so that each registration starts from them.
struct OriginalRecords {
    OriginalRecords() {
        Method("CIFilterBloomQOR", "Constructor");
        for (const auto& [name, record] : *records) originals[record] = *record;
    }
    void Restore() const {
        for (const auto& [record, original] : originals) *record = original;
    }
    std::map<ZEVAclassDefinition*, ZEVAclassDefinition> originals;
};

void Register(benchmark::State& state, double version) {
    static const OriginalRecords linked;
    auto* kept = std::exchange(records, nullptr);
    hostVersion = version;
    for (auto _ : state) {
        Module()(Resolve);
        state.PauseTiming();
        linked.Restore();
        state.ResumeTiming();
    }
    hostVersion = kNewestHostVersion;
    records = kept;
}

BENCHMARK(ModuleGetNumber)->Name("module/get a double");
BENCHMARK(DirectGetNumber)->Name("direct/get a double");
BENCHMARK(ModuleSetNumber)->Name("module/set a double");
BENCHMARK(DirectSetNumber)->Name("direct/set a double");
BENCHMARK_CAPTURE(ModuleGetObject, image, ImageProperty)->Name("module/get an image");
BENCHMARK_CAPTURE(DirectGetObject, image, ImageProperty)->Name("direct/get an image");
BENCHMARK_CAPTURE(ModuleSetObject, image, ImageProperty)->Name("module/set an image");
BENCHMARK_CAPTURE(DirectSetObject, image, ImageProperty)->Name("direct/set an image");
BENCHMARK_CAPTURE(ModuleGetObject, vector, VectorProperty)->Name("module/get a vector");
BENCHMARK_CAPTURE(DirectGetObject, vector, VectorProperty)->Name("direct/get a vector");
BENCHMARK_CAPTURE(ModuleSetObject, vector, VectorProperty)->Name("module/set a vector");
BENCHMARK_CAPTURE(DirectSetObject, vector, VectorProperty)->Name("direct/set a vector");
BENCHMARK(ModuleGetAttribute)->Name("module/get an attribute");
BENCHMARK(DirectGetAttribute)->Name("direct/get an attribute");
// The number of iterations is fixed because the module never frees the tables that it makes for old hosts.
BENCHMARK_CAPTURE(Register, version12, kNewestHostVersion)->Name("register/73 classes, records 12")->Iterations(2000);
BENCHMARK_CAPTURE(Register, version9, 2011.04)->Name("register/73 classes, records 9")->Iterations(500);

}  // namespace

int main(int count, char** arguments) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    [pool drain];
    return 0;
}
