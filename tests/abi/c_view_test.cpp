// The interface as C sees it: the same slots, fields, functions and values as in C++.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <type_traits>

#include "tests/support/tree.h"
#include "vantor_wave/host_interface.h"
#include "vantor_wave/host_interface_c.h"

namespace vantor::test {
namespace {

// The type of C that stands for one of C++.
template <typename T>
struct InCOf {
    using Type = T;
};
template <typename T>
using InC = typename InCOf<T>::Type;

#define SAME_IN_C(Cpp, C) \
    template <>           \
    struct InCOf<Cpp> {   \
        using Type = C;   \
    }
SAME_IN_C(PCM_source*, VantorSource*);
SAME_IN_C(Resampler*, VantorResampler*);
SAME_IN_C(PeakReader*, VantorPeakReader*);
SAME_IN_C(PeakBuilder*, VantorPeakBuilder*);
SAME_IN_C(ProjectContext*, VantorProjectContext*);
SAME_IN_C(TransferBlock*, VantorTransferBlock*);
SAME_IN_C(PeakRequest*, VantorPeakRequest*);
SAME_IN_C(HostInfo*, VantorHostInfo*);

template <typename Result, typename... Arguments>
struct InCOf<Result (*)(Arguments...)> {
    using Type = InC<Result> (*)(InC<Arguments>...);
};
template <typename Object, typename Result, typename... Arguments>
struct InCOf<Result (Object::*)(Arguments...)> {
    using Type = InC<Result> (*)(InC<Object*>, InC<Arguments>...);
};
template <typename Object, typename Result, typename... Arguments>
struct InCOf<Result (Object::*)(Arguments..., ...)> {
    using Type = InC<Result> (*)(InC<Object*>, InC<Arguments>..., ...);
};

// Where a virtual function stands in its table: the Itanium ABI keeps the offset, plus 1, in the pointer.
template <typename Slot>
size_t TableOffset(Slot slot) {
    size_t offset = 0;
    std::memcpy(&offset, &slot, sizeof offset);
    return offset - 1;
}

#define EXPECT_SAME_SLOT(Object, name)                                                                 \
    static_assert(std::is_same_v<InC<decltype(&Object::name)>, decltype(Vantor##Object##Table::name)>, \
                  #name);                                                                              \
    EXPECT_EQ(TableOffset(&Object::name), offsetof(Vantor##Object##Table, name)) << #name
#define EXPECT_LAST_SLOT(Object, name) \
    EXPECT_EQ(offsetof(Vantor##Object##Table, name) + sizeof(void*), sizeof(Vantor##Object##Table))

using Source = PCM_source;

TEST(CView, SlotsOfTheSource) {
    EXPECT_EQ(TableOffset(&PCM_source::DeletingDestructor), offsetof(VantorSourceTable, DeletingDestructor));
    EXPECT_SAME_SLOT(Source, Clone);
    EXPECT_SAME_SLOT(Source, IsOnline);
    EXPECT_SAME_SLOT(Source, SetOnline);
    EXPECT_SAME_SLOT(Source, TypeName);
    EXPECT_SAME_SLOT(Source, FileName);
    EXPECT_SAME_SLOT(Source, ChangeFile);
    EXPECT_SAME_SLOT(Source, SubSource);
    EXPECT_SAME_SLOT(Source, SetSubSource);
    EXPECT_SAME_SLOT(Source, ChannelCount);
    EXPECT_SAME_SLOT(Source, SampleRate);
    EXPECT_SAME_SLOT(Source, LengthSeconds);
    EXPECT_SAME_SLOT(Source, BeatLength);
    EXPECT_SAME_SLOT(Source, BitDepth);
    EXPECT_SAME_SLOT(Source, PlacementPosition);
    EXPECT_SAME_SLOT(Source, ShowProperties);
    EXPECT_SAME_SLOT(Source, ReadSamples);
    EXPECT_SAME_SLOT(Source, ReadPeaks);
    EXPECT_SAME_SLOT(Source, WriteState);
    EXPECT_SAME_SLOT(Source, ReadState);
    EXPECT_SAME_SLOT(Source, ClearPeaks);
    EXPECT_SAME_SLOT(Source, BeginPeakBuild);
    EXPECT_SAME_SLOT(Source, RunPeakBuild);
    EXPECT_SAME_SLOT(Source, FinishPeakBuild);
    EXPECT_SAME_SLOT(Source, ExtendedCall);
    EXPECT_LAST_SLOT(Source, ExtendedCall);
    EXPECT_EQ(sizeof(VantorSourceTable), 25 * sizeof(void*));
}

TEST(CView, SlotsOfTheHostsObjects) {
    EXPECT_SAME_SLOT(Resampler, Configure);
    EXPECT_SAME_SLOT(Resampler, SetRates);
    EXPECT_SAME_SLOT(Resampler, LatencySeconds);
    EXPECT_SAME_SLOT(Resampler, Reset);
    EXPECT_SAME_SLOT(Resampler, RequestInput);
    EXPECT_SAME_SLOT(Resampler, Produce);
    EXPECT_LAST_SLOT(Resampler, Produce);
    EXPECT_SAME_SLOT(PeakReader, PeaksPerSecond);
    EXPECT_SAME_SLOT(PeakReader, ReadPeaks);
    EXPECT_LAST_SLOT(PeakReader, ReadPeaks);
    EXPECT_SAME_SLOT(PeakBuilder, ProgressFraction);
    EXPECT_SAME_SLOT(PeakBuilder, Run);
    EXPECT_LAST_SLOT(PeakBuilder, Run);
    EXPECT_SAME_SLOT(ProjectContext, AddLine);
    EXPECT_SAME_SLOT(ProjectContext, NextLine);
    EXPECT_LAST_SLOT(ProjectContext, NextLine);
}

#define SAME_FIELD(Record, name)                                              \
    static_assert(offsetof(Record, name) == offsetof(Vantor##Record, name) && \
                  std::is_same_v<InC<decltype(Record::name)>, decltype(Vantor##Record::name)>)
#define SAME_SIZE(Record) static_assert(sizeof(Record) == sizeof(Vantor##Record))

SAME_FIELD(TransferBlock, startSeconds);
SAME_FIELD(TransferBlock, sampleRate);
SAME_FIELD(TransferBlock, channels);
SAME_FIELD(TransferBlock, frames);
SAME_FIELD(TransferBlock, samples);
SAME_FIELD(TransferBlock, framesProduced);
SAME_FIELD(TransferBlock, absoluteSeconds);
SAME_SIZE(TransferBlock);
SAME_FIELD(PeakRequest, startSeconds);
SAME_FIELD(PeakRequest, peaksPerSecond);
SAME_FIELD(PeakRequest, channels);
SAME_FIELD(PeakRequest, frames);
SAME_FIELD(PeakRequest, peaks);
SAME_FIELD(PeakRequest, framesProduced);
SAME_SIZE(PeakRequest);
SAME_FIELD(MarkerRecord, id);
SAME_FIELD(MarkerRecord, isRegion);
SAME_FIELD(MarkerRecord, startSeconds);
SAME_FIELD(MarkerRecord, endSeconds);
SAME_FIELD(MarkerRecord, name);
SAME_FIELD(MarkerRecord, namePriority);
SAME_SIZE(MarkerRecord);
SAME_FIELD(SliceRequest, source);
SAME_FIELD(SliceRequest, positionBeats);
SAME_FIELD(SliceRequest, flags);
SAME_SIZE(SliceRequest);
SAME_FIELD(MetadataPair, key);
SAME_FIELD(MetadataPair, value);
SAME_SIZE(MetadataPair);
SAME_FIELD(HostInfo, callerVersion);
SAME_FIELD(HostInfo, mainWindow);
SAME_FIELD(HostInfo, RegisterService);
SAME_FIELD(HostInfo, LookupService);
SAME_SIZE(HostInfo);
SAME_FIELD(SourceTypeHandler, CreateByType);
SAME_FIELD(SourceTypeHandler, CreateByFile);
SAME_FIELD(SourceTypeHandler, ExtensionList);
SAME_SIZE(SourceTypeHandler);
static_assert(std::is_same_v<InC<EntryFunction>, VantorEntryFunction>);

#define SAME_FUNCTION(service, CFunction) \
    static_assert(std::is_same_v<InC<decltype(service)::Function>, CFunction>)

SAME_FUNCTION(service::createResampler, VantorCreateResampler);
SAME_FUNCTION(service::formatTime, VantorFormatTime);
SAME_FUNCTION(service::createPeakReader, VantorCreatePeakReader);
SAME_FUNCTION(service::createPeakBuilder, VantorCreatePeakBuilder);
SAME_FUNCTION(service::resolveFileName, VantorResolveFileName);
SAME_FUNCTION(service::createFromType, VantorCreateFromType);
SAME_FUNCTION(service::relativeFileName, VantorRelativeFileName);
SAME_FUNCTION(service::peakFileName, VantorPeakFileName);
SAME_FUNCTION(service::updateDiskCounters, VantorUpdateDiskCounters);
SAME_FUNCTION(service::preferredReadMode, VantorPreferredReadMode);
SAME_FUNCTION(service::preferredPeakReadMode, VantorPreferredReadMode);
SAME_FUNCTION(service::hiresPeaks, VantorHiresPeaks);
SAME_FUNCTION(service::openImageModal, VantorOpenImageModal);
SAME_FUNCTION(service::localize, VantorLocalize);
SAME_FUNCTION(registration::createMetadataSource, VantorCreateMetadataSource);
SAME_FUNCTION(registration::openFileReduce, VantorOpenFileReduce);

// "callValueByKey" as C spells it, "CALL_VALUE_BY_KEY".
std::string UpperSnake(const std::string& name) {
    std::string upper;
    for (const char c : name) {
        if (c >= 'A' && c <= 'Z') upper += '_';
        upper += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    return upper;
}

using Values = std::map<std::string, std::string>;  // name -> number or text, as it is written

void Collect(const std::string& header, const char* pattern, const std::string& prefix, Values& values) {
    std::ifstream file(SourceTree() + "/include/vantor_wave/" + header);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::regex expression(pattern);
    for (std::sregex_iterator i(text.begin(), text.end(), expression), end; i != end; ++i)
        values[prefix + ((*i)[1].str().find('_') == std::string::npos ? UpperSnake((*i)[1])
                                                                      : (*i)[1].str())] = (*i)[2];
}

TEST(CView, EveryNameAndValueStandsInBoth) {
    Values cpp;
    Values c;
    const char* const enumerator = R"(\n\s+((?:call|write|written|updated|reduce|read)\w+) = (-?\w+),)";
    Collect("extended_calls.h", enumerator, "VANTOR_", cpp);
    Collect("plugin_entry.h", enumerator, "VANTOR_", cpp);
    Collect("host_services.h", enumerator, "VANTOR_", cpp);
    const char* const named = R"((\w+)\{\s*("\w+")\})";
    Collect("host_services.h", R"(inline constexpr Service<(?!void>)[^;]*?\s(\w+)\{\s*("\w+")\})",
            "VANTOR_SERVICE_", cpp);
    Collect("plugin_entry.h", named, "VANTOR_REGISTERED_", cpp);
    Collect("host_interface_c.h", R"((VANTOR_(?:CALL|WRITE|WRITTEN|UPDATED|REDUCE|READ)\w+) = (-?\w+))", "",
            c);
    Collect("host_interface_c.h", R"(#define (VANTOR_(?:SERVICE|REGISTERED)_\w+)\s+\\?\s*("\w+"))", "", c);
    c.erase("VANTOR_REGISTERED_SOURCE_TYPES");
    EXPECT_GT(c.size(), 35u);
    EXPECT_EQ(cpp, c);

    EXPECT_STREQ(VANTOR_REGISTERED_SOURCE_TYPES, registration::sourceTypes);
    EXPECT_STREQ(VANTOR_ENTRY_NAME, entryName);
    EXPECT_EQ(VANTOR_HOST_INTERFACE_VERSION, hostInterfaceVersion);
    EXPECT_EQ(VANTOR_ORDINARY_PRIORITY, ordinaryPriority);
    EXPECT_EQ(VANTOR_LAST_RESORT_PRIORITY, lastResortPriority);
    EXPECT_EQ(VANTOR_NOT_CONTINUATION, notContinuation);
    EXPECT_EQ(VANTOR_SLICE_POSITION_ONLY, slicePositionOnly);
    EXPECT_EQ(VANTOR_DELETE_AND_FREE, deleteAndFree);
    EXPECT_EQ(VANTOR_RESAMPLER_MODE, resamplerMode);
    EXPECT_EQ(VANTOR_DISK_FULL, diskFull);
    EXPECT_EQ(VANTOR_DISK_WRITE_ERROR, diskWriteError);
}

}  // namespace
}  // namespace vantor::test
