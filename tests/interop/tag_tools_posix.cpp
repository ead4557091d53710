#include <aifffile.h>
#include <attachedpictureframe.h>
#include <commentsframe.h>
#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>
#include <wavfile.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sstream>

#include "tests/interop/tag_tools.h"

namespace vantor::test {

namespace {

std::string Utf8(const TagLib::String& text) {
    return text.to8Bit(true);
}

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void AddFrame(const TagLib::ID3v2::Frame& frame, Tags& tags) {
    namespace Id3 = TagLib::ID3v2;
    const auto bytes = frame.frameID();
    const std::string id(bytes.data(), bytes.size());
    if (const auto* user = dynamic_cast<const Id3::UserTextIdentificationFrame*>(&frame)) {
        tags[id + ":" + Utf8(user->description())] = Utf8(user->fieldList().back());
    } else if (const auto* comment = dynamic_cast<const Id3::CommentsFrame*>(&frame)) {
        const auto language = comment->language();
        tags[id + ":" + std::string(language.data(), language.size())] = Utf8(comment->text());
    } else if (const auto* picture = dynamic_cast<const Id3::AttachedPictureFrame*>(&frame)) {
        const auto data = picture->picture();
        tags[id] = std::string(data.data(), data.size());
    } else {
        tags[id] = Utf8(frame.toString());
    }
}

Tags FramesOf(const TagLib::ID3v2::Tag* tag) {
    Tags tags;
    if (tag)
        for (const auto* frame : tag->frameList())
            AddFrame(*frame, tags);
    return tags;
}

}  // namespace

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char piece[4096];
    for (size_t got = 0; pipe && (got = std::fread(piece, 1, sizeof piece, pipe.get())) > 0;)
        output.append(piece, got);
    return output;
}

Tags FfprobeTags(const std::string& path) {
    Tags tags;
    std::istringstream lines(
        OutputOf("ffprobe -v error -show_entries format_tags -of default=nw=1 '" + path + "'"));
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (!line.starts_with("TAG:") || equals == line.npos) continue;
        std::string name = line.substr(4, equals - 4);
        std::ranges::transform(name, name.begin(),
                               [](unsigned char c) { return static_cast<char>(tolower(c)); });
        tags[name] = line.substr(equals + 1);
    }
    return tags;
}

Tags ExiftoolTags(const std::string& path) {
    Tags tags;
    std::istringstream lines(OutputOf("exiftool -G1 -s -a -charset RIFF=UTF8 '" + path + "'"));
    for (std::string line; std::getline(lines, line);) {
        const auto group = line.find(']');
        const auto colon = line.find(": ");
        if (group == line.npos || colon == line.npos) continue;
        tags[line.substr(1, group - 1) + ":" + Trimmed(line.substr(group + 1, colon - group - 1))] =
            line.substr(colon + 2);
    }
    return tags;
}

Tags TaglibFrames(const std::string& path) {
    if (path.ends_with(".wav")) {
        TagLib::RIFF::WAV::File file(path.c_str());
        return FramesOf(file.ID3v2Tag());
    }
    TagLib::RIFF::AIFF::File file(path.c_str());
    return FramesOf(file.tag());
}

}  // namespace vantor::test
