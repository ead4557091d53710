#include "entry/plugin_entry.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <type_traits>

#include "entry/source_type_handler.h"
#include "source/source_entry.h"

namespace vantor {

namespace {

// A service's name and how a looked-up pointer gets into its slot.
struct Binding {
    const char* name;
    void (*store)(HostServices& services, void* function);
};

template <auto slot, typename Signature>
constexpr Binding Bind(const Service<Signature>& service) {
    using Function = typename Service<Signature>::Function;
    static_assert(std::is_same_v<decltype(slot), Function HostServices::*>);
    return {service.name, [](HostServices& services, void* function) {
                services.*slot = reinterpret_cast<Function>(function);
            }};
}

constexpr std::array boundBeforeRegistration = {
    Bind<&HostServices::createFromType>(service::createFromType),
    Bind<&HostServices::createResampler>(service::createResampler),
    Bind<&HostServices::formatTime>(service::formatTime),
    Bind<&HostServices::createPeakReader>(service::createPeakReader),
    Bind<&HostServices::createPeakBuilder>(service::createPeakBuilder),
    Bind<&HostServices::resolveFileName>(service::resolveFileName),
    Bind<&HostServices::relativeFileName>(service::relativeFileName),
    Bind<&HostServices::peakFileName>(service::peakFileName),
    Bind<&HostServices::updateDiskCounters>(service::updateDiskCounters),
    Bind<&HostServices::preferredReadMode>(service::preferredReadMode),
    Bind<&HostServices::preferredPeakReadMode>(service::preferredPeakReadMode),
    Bind<&HostServices::hiresPeaks>(service::hiresPeaks),
    Bind<&HostServices::openImageModal>(service::openImageModal),
    Bind<&HostServices::onMallocFail>(service::onMallocFail),
};

constexpr std::array boundAfterRegistration = {
    Bind<&HostServices::createGroupsFromTab>(service::createGroupsFromTab),
    Bind<&HostServices::localize>(service::localize),
    Bind<&HostServices::localizeMenu>(service::localizeMenu),
    Bind<&HostServices::localizeInitializeDialog>(service::localizeInitializeDialog),
    Bind<&HostServices::localizePrepareDialog>(service::localizePrepareDialog),
};

bool IsMandatory(std::string_view name) {
    return std::find(std::begin(service::mandatory), std::end(service::mandatory), name) !=
           std::end(service::mandatory);
}

// Looks up all of them; false when the host lacks a mandatory one.
template <typename Bindings>
bool LookUpAll(const Bindings& bindings, const HostInfo& host) {
    bool complete = true;
    for (const Binding& binding : bindings) {
        void* function = host.LookupService(binding.name);
        binding.store(Services(), function);
        if (!function && IsMandatory(binding.name)) complete = false;
    }
    return complete;
}

template <typename Signature>
void Register(const HostInfo& host, const Service<Signature>& service, Signature* function) {
    host.RegisterService(service.name, reinterpret_cast<void*>(function));
}

bool RegisterAll(const HostInfo& host) {
    if (!host.RegisterService) return false;
    auto* handler = const_cast<SourceTypeHandler*>(&sourceTypeHandler);  // the host only reads it
    if (host.RegisterService(registration::sourceTypes, handler) == 0) return false;
    Register(host, registration::createMetadataSource, CreateMetadataSource);
    Register(host, registration::openFileReduce, OpenFileReduce);
    return true;
}

}  // namespace

}  // namespace vantor

int32_t VantorPluginEntry(void* moduleInstance, vantor::HostInfo* host) try {
    vantor::Services().moduleInstance = moduleInstance;
    if (!host || host->callerVersion != vantor::hostInterfaceVersion || !host->LookupService) return 0;
    if (!vantor::LookUpAll(vantor::boundBeforeRegistration, *host) || !vantor::RegisterAll(*host)) return 0;
    vantor::LookUpAll(vantor::boundAfterRegistration, *host);
    return 1;
} catch (...) {
    return 0;
}
