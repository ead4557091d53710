#include "wavehost/host/module_loader.h"

#include <map>

#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

// The module registers through a plain function, so what it gives waits here until LoadModule takes it.
std::map<std::string, void*>& Registered() {
    static std::map<std::string, void*> services;
    return services;
}

int32_t RegisterService(const char* key, void* service) {
    if (!key || !service) return 0;
    Registered()[key] = service;
    return 1;
}

template <typename T>
void Take(const char* key, T& slot) {
    const auto found = Registered().find(key);
    if (found != Registered().end()) slot = reinterpret_cast<T>(found->second);
}

}  // namespace

fs::path FindModule(const std::string& path) {
    if (!path.empty()) return AbsolutePath(PathOf(path));
    const fs::path folder = ExecutableFolder();
    std::error_code failed;
    for (const fs::path& candidate :
         {folder / moduleFileName, folder.parent_path() / "lib" / "vantor_wave" / moduleFileName})
        if (fs::exists(candidate, failed)) return candidate;
    constexpr std::string_view buildFolder = WAVEHOST_BUILD_FOLDER;  // empty in a package
    return (buildFolder.empty() ? folder : PathOf(buildFolder)) / moduleFileName;
}

Module LoadModule(const fs::path& file) {
    std::string error;
    void* library = OpenLibrary(file, error);
    if (!library) throw Failure("the module cannot be loaded: " + error);
    const auto entry = reinterpret_cast<EntryFunction>(LibrarySymbol(library, entryName));
    if (!entry) throw Failure(std::string("no ") + entryName + " in this library");

    HostInfo host{hostInterfaceVersion, nullptr, &RegisterService, &LookupHostService};
    Module module;
    const int32_t accepted = entry(library, &host);
    Take(registration::sourceTypes, module.sources);
    Take(registration::createMetadataSource.name, module.createMetadataSource);
    if (accepted != 1 || !module.sources)
        throw Failure(std::string("the module's entry refused this host: ") + RefusalReason(&host));
    return module;
}

}  // namespace vantor::wavehost
