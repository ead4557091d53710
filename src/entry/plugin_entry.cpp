#include "entry/plugin_entry.h"

#include <array>
#include <type_traits>

#include "entry/source_type_handler.h"
#include "source/source_entry.h"

namespace vantor {

namespace {

// A service's name and how a looked-up pointer gets into its slot.
struct Binding {
    const char* name;
    void (*store)(HostServices& services, void* service);
};

template <auto slot>
void Store(HostServices& services, void* service) {
    auto& place = services.*slot;
    place = reinterpret_cast<std::remove_reference_t<decltype(place)>>(service);
}

constexpr std::array boundBeforeRegistration = {
    Binding{"PCM_Source_CreateFromType", Store<&HostServices::createFromType>},
    Binding{"Resampler_Create", Store<&HostServices::createResampler>},
    Binding{"format_timestr", Store<&HostServices::formatTime>},
    Binding{"PeakGet_Create", Store<&HostServices::createPeakReader>},
    Binding{"PeakBuild_CreateEx", Store<&HostServices::createPeakBuilder>},
    Binding{"resolve_fn", Store<&HostServices::resolveFileName>},
    Binding{"relative_fn", Store<&HostServices::relativeFileName>},
    Binding{"GetPeakFileName", Store<&HostServices::peakFileName>},
    Binding{"update_disk_counters", Store<&HostServices::updateDiskCounters>},
    Binding{"GetPreferredDiskReadMode", Store<&HostServices::preferredReadMode>},
    Binding{"GetPreferredDiskReadModePeak", Store<&HostServices::preferredPeakReadMode>},
    Binding{"HiresPeaksFromSource", Store<&HostServices::hiresPeaks>},
    Binding{"OpenImageModal", Store<&HostServices::openImageModal>},
    Binding{"gOnMallocFail", Store<&HostServices::onMallocFail>},
};

constexpr std::array boundAfterRegistration = {
    Binding{"vac_createGroupsFromTab", Store<&HostServices::createGroupsFromTab>},
    Binding{"__localizeFunc", Store<&HostServices::localize>},
    Binding{"__localizeMenu", Store<&HostServices::localizeMenu>},
    Binding{"__localizeInitializeDialog", Store<&HostServices::localizeInitializeDialog>},
    Binding{"__localizePrepareDialog", Store<&HostServices::localizePrepareDialog>},
};

template <typename Bindings>
void Bind(const Bindings& bindings, const HostInfo& host) {
    for (const Binding& binding : bindings)
        binding.store(Services(), host.LookupService(binding.name));
}

bool HasMandatoryServices(const HostServices& services) {
    return services.createPeakReader && services.createPeakBuilder && services.createResampler &&
           services.formatTime && services.resolveFileName;
}

bool RegisterAll(const HostInfo& host) {
    if (!host.RegisterService) return false;
    auto* handler = const_cast<SourceTypeHandler*>(&sourceTypeHandler);  // the host only reads it
    if (host.RegisterService("pcmsrc", handler) == 0) return false;
    host.RegisterService("API_wave__createMetadataSource", reinterpret_cast<void*>(CreateMetadataSource));
    host.RegisterService("open_file_reduce", reinterpret_cast<void*>(OpenFileReduce));
    return true;
}

}  // namespace

}  // namespace vantor

int32_t VantorPluginEntry(void* moduleInstance, vantor::HostInfo* host) try {
    vantor::Services().moduleInstance = moduleInstance;
    if (!host || host->callerVersion != vantor::hostInterfaceVersion || !host->LookupService) return 0;
    vantor::Bind(vantor::boundBeforeRegistration, *host);
    if (!vantor::HasMandatoryServices(vantor::Services()) || !vantor::RegisterAll(*host)) return 0;
    vantor::Bind(vantor::boundAfterRegistration, *host);
    return 1;
} catch (...) {
    return 0;
}
