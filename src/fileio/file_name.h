// UTF-8 file names and the forms in which the system is asked for them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/file_system.h"

namespace vantor {

// The UTF-16 form of a name, with "\\?\" or "\\?\UNC\" in front when it has 256 units or more. False when
// `name` is not valid UTF-8.
[[nodiscard]] bool WideFileName(const std::string& name, std::u16string& wide);

// True when a reader asks for the wide form, where there is one: the name is not ASCII, or has 256 bytes or
// more.
[[nodiscard]] bool WantsWideForm(const std::string& name);

// Opens the file by its wide form, else by the narrow one, as those ask who do not read. Null when it cannot
// be opened.
[[nodiscard]] std::unique_ptr<platform::File> OpenFile(const std::string& name,
                                                       const platform::OpenOptions& options);

// Deletes the file; its wide form when it holds non-ASCII characters, else the narrow one.
bool RemoveFile(const std::string& name);

// Case-insensitive order of names, ASCII letters folded: how file identity is decided on every system. <0, 0,
// >0.
[[nodiscard]] int CompareFileNames(std::string_view left, std::string_view right);
// The same number for names that compare as equal.
[[nodiscard]] size_t HashOfFileName(std::string_view name);

}  // namespace vantor
