// module_test.cpp - loading modules. Each test loads its own copy, because a module converts its records in place.

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "interface/host_version.h"
#include "tests/host/host_test.h"

namespace {

namespace fs = std::filesystem;
using host::Value;

class ModuleTest : public HostTest {
  protected:
    ModuleTest() { fs::create_directories(folder); }
    ~ModuleTest() override { fs::remove_all(folder); }

    // A new copy of the fake module.
    fs::path FreshModule() const {
        static int number = 0;
        const fs::path copy = folder / ("module" + std::to_string(++number) + ".so");
        fs::copy_file(ZEVA_FAKE_MODULE, copy);
        return copy;
    }

    // Replaces the host by one with another version.
    void UseVersion(double version) {
        host.~Host();
        new (&host) host::Host({.version = version, .report = [this](const auto& text) { messages.push_back(text); }});
    }

    // The reason why a file cannot be loaded, with "F" in place of its path.
    std::string Refusal(const fs::path& file) {
        std::string text = TextOfError([&] { host.LoadModule(file); });
        for (std::size_t at; (at = text.find(file.string())) != std::string::npos;) {
            text.replace(at, file.string().size(), "F");
        }
        return text;
    }

    fs::path folder = fs::temp_directory_path() / ("host_test_" + std::to_string(getpid()));
};

TEST_F(ModuleTest, AModuleRegistersItsClassesInOrder) {
    const host::Module& module = host.LoadModule(FreshModule());
    ASSERT_EQ(module.classes.size(), 2u);
    EXPECT_EQ(module.classes[0]->Name(), "Kettle");
    EXPECT_EQ(module.classes[1]->Name(), "Vessel");
    EXPECT_EQ(module.announcedVersion, kNewestRecordVersion);
    EXPECT_EQ(host.Modules().size(), 1u);
    EXPECT_EQ(TakeMessages(), Messages());
}

TEST_F(ModuleTest, ClassesWorkWithEveryRecordVersion) {
    std::vector<ZEVAversionStep> hosts(std::begin(kVersionSteps), std::end(kVersionSteps));
    hosts.push_back({2011, kOldestRecordVersion});
    for (const auto& [version, recordVersion] : hosts) {
        UseVersion(version);
        EXPECT_EQ(host.LoadModule(FreshModule()).announcedVersion, recordVersion);
        const auto kettle = host.Construct("Kettle");
        EXPECT_EQ(kettle->isa->RecordVersion(), recordVersion);
        EXPECT_EQ(host.Get(kettle.Get(), "Volume"), Value(1.0));
        const Value seven[] = {7};
        EXPECT_EQ(host.Call(kettle.Get(), "Double", seven), Value(14));
        EXPECT_EQ(host.CallShared("Kettle", "Answer"), Value(42));
    }
    EXPECT_EQ(TakeMessages(), Messages());
}

TEST_F(ModuleTest, AModuleThatDoesNotSupportTheHostRegistersNothing) {
    UseVersion(2007.010);
    const host::Module& module = host.LoadModule(FreshModule());
    EXPECT_EQ(module.announcedVersion, kOldestRecordVersion);
    EXPECT_EQ(module.classes.size(), 0u);
}

TEST_F(ModuleTest, AnExceptionOfAModuleIsThrown) {
    host.LoadModule(FreshModule());
    const auto kettle = host.Construct("Kettle");
    EXPECT_EQ(TextOfError([&] { host.Call(kettle.Get(), "Boil"); }), "UnsupportedOperationException: there is no fire");
}

TEST_F(ModuleTest, AnExceptionDuringLoadIsThrownAndTheModuleStaysLoaded) {
    EXPECT_EQ(TextOfError([&] { host.LoadModule(ZEVA_RAISING_MODULE); }), "RuntimeException");
    ASSERT_EQ(host.Modules().size(), 1u);
    EXPECT_EQ(host.Modules()[0]->announcedVersion, 13);
    EXPECT_EQ(TakeMessages(),
              Messages{"module " ZEVA_RAISING_MODULE ": it announces record version 13, but this host reads 9...12"});
}

TEST_F(ModuleTest, RefusesAMissingFile) {
    EXPECT_EQ(Refusal(folder / "none.so"), "module F: no such file; nothing is loaded");
}

TEST_F(ModuleTest, RefusesAFileThatIsNotALibraryWithTheReason) {
    std::ofstream(folder / "text.so") << "hello";
    EXPECT_EQ(Refusal(folder / "text.so"), "module F: it cannot be loaded (file too short)");
}

TEST_F(ModuleTest, RefusesALibraryWithoutEntryPoint) {
    EXPECT_EQ(Refusal(ZEVA_PLAIN_LIBRARY), "module F: it has no entry point ZEVAPluginMain, so it is not a module");
    EXPECT_EQ(host.Modules().size(), 0u);
    EXPECT_EQ(dlopen(ZEVA_PLAIN_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
}

TEST_F(ModuleTest, RefusesToLoadAModuleTwice) {
    const fs::path module = FreshModule();
    host.LoadModule(module);
    EXPECT_EQ(Refusal(module), "module F: it is already loaded; a process can load a module only once");
    EXPECT_EQ(host.Modules().size(), 1u);
}

}  // namespace
