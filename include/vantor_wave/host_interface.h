// The interface between an audio host and the module vantor_wave: everything that one has to know of the
// other. These headers include nothing of the project and need C++17; host_interface_c.h gives the same to C.
//
//   plugin_entry.h     the exported entry, what it is handed, what it registers, which files it takes
//   host_services.h    what a host offers: names and functions, five of them mandatory
//   host_objects.h     the host's objects: resampler, peak reader and builder, project lines
//   pcm_source.h       the audio source: 25 slots
//   transfer_records.h the records that pass through the slots
//   extended_calls.h   the calls that the last slot answers: tags, markers, tempo, slices, writing tags
//
// What holds everywhere:
// - Texts are UTF-8 and end with a zero; file names are absolute paths in UTF-8. Times are in seconds, rates
//   in Hz, sizes in bytes. A buffer's size counts the terminating zero.
// - No exception crosses the border, in either direction. The module turns its own (memory that runs out)
//   into the failing answer of the call; a service that throws is the host's fault and ends as std::terminate
//   may have it.
// - The module starts no threads and shows no messages. It may be called from any thread; what a thread has
// to
//   keep to stands at each call.
// - An object is destroyed through its slot 0, by whoever owns it, wherever it was made: both sides may have
//   their own allocator.
#pragma once

#include "vantor_wave/extended_calls.h"
#include "vantor_wave/host_objects.h"
#include "vantor_wave/host_services.h"
#include "vantor_wave/pcm_source.h"
#include "vantor_wave/plugin_entry.h"
#include "vantor_wave/transfer_records.h"
