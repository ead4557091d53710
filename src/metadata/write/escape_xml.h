// Texts and names as the XML documents of the iXML and XMP builders hold them, readable by any XML 1.0
// parser.
#pragma once

#include <string>
#include <string_view>

namespace vantor {

// Appends the input up to its first zero byte. "&", "<" and ">" become references; in names (textMode false)
// a blank and a colon become "_". Every other byte stays.
void EscapeXml(std::string& output, std::string_view input, bool textMode);
// The same for an attribute value in double quotes: the quotation mark becomes a reference too, and tab, line
// feed and carriage return do so that no parser normalises them to blanks.
void EscapeXmlAttribute(std::string& output, std::string_view input);

// The value as UTF-8 (see Utf8OrLatin1) in which a blank stands for each character that XML 1.0 forbids.
[[nodiscard]] std::string XmlText(std::string_view value);
// True for a name without a colon as "Namespaces in XML 1.0" defines it.
[[nodiscard]] bool IsXmlName(std::string_view name);
// A well-formed element name close to the text: every character that a name cannot hold becomes "_", and "_"
// is put before a first character that may not begin one ("2" becomes "_2", "a/b" "a_b"). Names that are well
// formed stay. Cut to maximumBytes between characters.
[[nodiscard]] std::string XmlNameFrom(std::string_view text, size_t maximumBytes);

}  // namespace vantor
