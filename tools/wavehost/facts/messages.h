// Lines for the person: messages, statistics, and how numbers and times read.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"

namespace vantor::wavehost {

// "wavehost: FILE: message" on standard error.
void ReportFailure(const std::string& file, const std::string& message);
// A line of the same form that is no error: not with -q.
void ReportNote(bool quiet, const std::string& file, const std::string& message);
// What was read from the disk, on standard error.
void ReportStatistics();
// A time as the host shows it.
std::string TimeText(double seconds);
// A number in its shortest exact form.
std::string NumberText(double number);
// One line on standard output, as a terminal may get it.
void PrintLine(const std::string& line);

// Runs `work`; a failure is reported for `file`. Returns the exit status.
template <typename Work>
int ForFile(const std::string& file, const Work& work) {
    try {
        return work();
    } catch (const std::exception& failure) {
        ReportFailure(file, failure.what());
        return 1;
    }
}

}  // namespace vantor::wavehost
