#include "xml/xml_parser.h"

#include <array>
#include <cstdio>
#include <deque>
#include <new>
#include <utility>

#include "xml/xml_tokenizer.h"
#include "xml/xml_tree.h"

namespace vantor {

using Blanks = XmlTokenizer::Blanks;

namespace {

bool IsRefusedFirst(char byte) {
    return byte == '-' || byte == '.' || (byte >= '0' && byte <= '9');
}

// An element whose end tag has not come yet.
struct OpenElement {
    XmlElement* element;
    XmlElement* lastChild;
    XmlPosition start;
    XmlElementPlace* place;  // null unless places are noted
};

}  // namespace

// The grammar. Every function that returns bool is false when the parse has failed.
struct qrv_xml_parser::State {
    explicit State(qrv_xml_parser& source) : tokens(source) {}

    const char* Parse();
    bool ReadDocument();
    bool ReadMarkup(XmlPosition start);
    bool ReadText();
    bool ReadDeclarationMarkup(XmlPosition start);
    bool ReadComment(XmlPosition start);
    bool ReadDocType(XmlPosition start);
    bool ReadCdata(XmlPosition start);
    bool ReadInstruction(XmlPosition start);
    bool ReadStartTag(XmlPosition start);
    bool ReadEndTag();
    bool ReadAttributes(XmlElement& element, const char* unterminated, XmlPosition start);
    bool ReadAttribute(XmlAttributeList& attributes);

    bool AddText(std::string_view bytes) { return tokens.Accept(text.Add(bytes)); }
    void TakeText(XmlElement& element, bool evenWhitespace);
    void Append(XmlElement& element);
    XmlElementPlace* NotePlace(const XmlElement& element, size_t startTag);
    void NotePlace(const XmlAttribute& attribute, size_t name, XmlSpan quoted);
    bool Fail(const char* what) { return FailAt(tokens.Position(), what); }
    bool FailAt(XmlPosition position, const char* what);
    const char* Message();

    XmlTokenizer tokens;
    XmlTree tree;
    XmlTextBuffer text;            // character data since the last start or end tag
    bool textIsWhitespace = true;  // literal whitespace alone: no reference, no CDATA section
    std::deque<OpenElement> open;
    bool anythingRead = false;
    XmlPlaces* places = nullptr;
    bool endsBehindRoot = false;

    XmlElement* root = nullptr;
    const XmlElement* declaration = nullptr;
    std::vector<const XmlElement*> instructions;
    std::string docType;
    bool docTypeRead = false;

    const char* failure = nullptr;
    XmlPosition failurePosition;
    std::array<char, 128> message{};
};

bool qrv_xml_parser::State::FailAt(XmlPosition position, const char* what) {
    failure = what;
    failurePosition = position;
    return false;
}

const char* qrv_xml_parser::State::Message() {
    const char* detail = tokens.Error();
    if (failure == nullptr) {
        failurePosition = tokens.Position();
        return *detail == 0 ? "unexpected end of file" : detail;
    }
    if (*detail == 0) return failure;
    std::snprintf(message.data(), message.size(), "%s: %s", failure, detail);
    return message.data();
}

const char* qrv_xml_parser::State::Parse() {
    try {
        const bool done = tokens.Start() && tokens.Accept(text.Start()) && ReadDocument();
        return done ? nullptr : Message();
    } catch (const std::bad_alloc&) {
        Fail("malloc fail");
        return failure;
    }
}

bool qrv_xml_parser::State::ReadDocument() {
    for (;;) {
        if (!open.empty()) {
            if (!ReadText()) return false;
            if (tokens.Current() < 0) return FailAt(open.back().start, "unterminated block");
        } else {
            if (endsBehindRoot && root != nullptr) return true;
            tokens.SkipWhitespace();
            if (tokens.Current() < 0) return root != nullptr;
            if (tokens.Current() != '<') return Fail("expected < tag");
        }
        const XmlPosition start = tokens.Position();
        tokens.Advance();
        if (!ReadMarkup(start)) return false;
        anythingRead = true;
    }
}

// From the byte after "<" on.
bool qrv_xml_parser::State::ReadMarkup(XmlPosition start) {
    switch (tokens.Current()) {
        case '!':
            tokens.Advance();
            return ReadDeclarationMarkup(start);
        case '?':
            tokens.Advance();
            return ReadInstruction(start);
        case '/':
            tokens.Advance();
            return ReadEndTag();
        default:
            if (!tokens.Next(Blanks::Refuse)) return Fail("expected token after <");
            return ReadStartTag(start);
    }
}

// Character data up to the next "<" or the end of input.
bool qrv_xml_parser::State::ReadText() {
    std::string decoded;
    while (tokens.Current() >= 0 && tokens.Current() != '<') {
        const int byte = tokens.Current();
        tokens.Advance();
        if (byte == '&') {
            if (!tokens.ReadReference(decoded)) return Fail("unknown entity in element body");
            if (!AddText(decoded)) return false;
        } else if (!tokens.Accept(text.Add(static_cast<char>(byte)))) {
            return false;
        }
        textIsWhitespace = textIsWhitespace && IsXmlWhitespace(byte);
    }
    return true;
}

void qrv_xml_parser::State::TakeText(XmlElement& element, bool evenWhitespace) {
    if (!text.Text().empty() && (evenWhitespace || !textIsWhitespace)) {
        if (!element.text) element.text = std::make_unique<std::string>();
        element.text->append(text.Text());
    }
    text.Clear();
    textIsWhitespace = true;
}

// From the byte after "<!" on.
bool qrv_xml_parser::State::ReadDeclarationMarkup(XmlPosition start) {
    if (tokens.Current() == '-') {
        tokens.Advance();
        return ReadComment(start);
    }
    if (!tokens.Next(Blanks::Refuse)) return Fail("expected token following <!");
    if (tokens.Is('[')) return ReadCdata(start);
    if (tokens.IsName() && tokens.Token() == "DOCTYPE") return ReadDocType(start);
    return Fail("unknown token following <!");
}

// From the byte after "<!-" on.
bool qrv_xml_parser::State::ReadComment(XmlPosition start) {
    if (tokens.Current() != '-') {
        const bool found = tokens.Next(Blanks::Refuse);
        return Fail(found ? "unknown token following <!-" : "expected token following <!-");
    }
    tokens.Advance();
    for (int hyphens = 0; hyphens < 2; tokens.Advance()) {
        if (tokens.Current() < 0) return FailAt(start, "unterminated comment");
        hyphens = tokens.Current() == '-' ? hyphens + 1 : 0;
    }
    if (tokens.Current() != '>') return Fail("-- not allowed in comment");
    tokens.Advance();
    return true;
}

bool qrv_xml_parser::State::ReadDocType(XmlPosition start) {
    if (!open.empty()) return Fail("<!DOCTYPE must be at top level");
    if (docTypeRead) return Fail("<!DOCTYPE already specified");
    tokens.SkipWhitespace();
    if (tokens.Current() < 0 || tokens.Current() == '>')
        return Fail("expected document type token following <!DOCTYPE");
    for (; tokens.Current() != '>'; tokens.Advance()) {
        if (tokens.Current() < 0) return FailAt(start, "unterminated <!DOCTYPE");
        if (!tokens.Accept(text.Add(static_cast<char>(tokens.Current())))) return false;
    }
    tokens.Advance();
    docType = text.Text();
    docTypeRead = true;
    text.Clear();
    return true;
}

// From the byte after "<![" on.
bool qrv_xml_parser::State::ReadCdata(XmlPosition start) {
    if (open.empty()) return Fail("<![ not allowed at document level");
    if (!tokens.Next(Blanks::Refuse) || !tokens.IsName() || tokens.Token() != "CDATA")
        return Fail("unknown token beginning <![");
    if (!tokens.Next(Blanks::Refuse) || !tokens.Is('['))
        return Fail("unknown token beginning <![CDATA but without trailing [");
    textIsWhitespace = false;
    size_t brackets = 0;  // right square brackets held back: the first two before a ">" end the section
    for (; brackets < 2 || tokens.Current() != '>'; tokens.Advance()) {
        const int byte = tokens.Current();
        if (byte < 0) return FailAt(start, "unterminated <![CDATA[");
        if (byte == ']' && brackets < 2) {
            ++brackets;
            continue;
        }
        const size_t released = byte == ']' ? 0 : std::exchange(brackets, 0);
        if (!AddText(std::string_view("]]").substr(0, released))) return false;
        if (!tokens.Accept(text.Add(static_cast<char>(byte)))) return false;
    }
    tokens.Advance();
    return true;
}

// From the byte after "<?" on.
bool qrv_xml_parser::State::ReadInstruction(XmlPosition start) {
    if (!tokens.Next(Blanks::Refuse) || !tokens.IsName()) return Fail("expected token following <?");
    const bool isDeclaration = tokens.Token() == "xml";
    if (isDeclaration && anythingRead) return Fail("<?xml must begin document");
    if (tree.IsFull()) return Fail("too many elements");
    XmlElement& element = tree.NewElement(tokens.Token());
    if (!ReadAttributes(element, "unterminated <? block", start)) return false;
    if (!tokens.Is('?') || !tokens.Next(Blanks::Refuse) || !tokens.Is('>'))
        return Fail(isDeclaration ? "<?xml not terminated" : "<? element not terminated");
    if (isDeclaration)
        declaration = &element;
    else
        instructions.push_back(&element);
    return true;
}

// Its name is the current token.
bool qrv_xml_parser::State::ReadStartTag(XmlPosition start) {
    if (open.empty() && root != nullptr) return Fail("multiple top level elements");
    if (!tokens.IsName()) return Fail("unknown token in element");
    if (IsRefusedFirst(tokens.Token().front())) return Fail("element name must not begin with .- or number");
    if (tree.IsFull()) return Fail("too many elements");
    XmlElement& element = tree.NewElement(tokens.Token());
    const size_t startTag = tokens.TokenOffset() - 1;
    Append(element);
    if (!ReadAttributes(element, "unterminated element", start)) return false;
    if (tokens.Is('>')) {
        open.push_back({&element, nullptr, start, NotePlace(element, startTag)});
        return true;
    }
    if (!tokens.Is('/')) return Fail("unknown token in element");
    if (!tokens.Next(Blanks::Refuse) || !tokens.Is('>')) return Fail("expected > following / to end element");
    NotePlace(element, startTag);
    return true;
}

// Its start tag has been read.
XmlElementPlace* qrv_xml_parser::State::NotePlace(const XmlElement& element, size_t startTag) {
    if (places == nullptr) return nullptr;
    const size_t end = tokens.Offset();
    return &(places->elements[&element] = {{startTag, end}, {end, end}});
}

void qrv_xml_parser::State::NotePlace(const XmlAttribute& attribute, size_t name, XmlSpan quoted) {
    if (places != nullptr)
        places->attributes[&attribute] = {{name, quoted.end}, {quoted.begin + 1, quoted.end - 1}};
}

// Hangs a new element into the tree.
void qrv_xml_parser::State::Append(XmlElement& element) {
    if (open.empty()) {
        root = &element;
        return;
    }
    OpenElement& parent = open.back();
    TakeText(*parent.element, false);
    (parent.lastChild == nullptr ? parent.element->firstChild : parent.lastChild->nextSibling) = &element;
    parent.lastChild = &element;
}

// From the byte after "</" on.
bool qrv_xml_parser::State::ReadEndTag() {
    if (open.empty()) return Fail("unexpected </ at root level");
    XmlElement& element = *open.back().element;
    if (!tokens.Next(Blanks::Refuse) || !tokens.IsName() || tokens.Token() != element.name)
        return Fail("mismatched </ tag name");
    const size_t endTag = tokens.TokenOffset() - 2;
    if (!tokens.Next(Blanks::Skip) || !tokens.Is('>')) return Fail("expected > following </tag");
    if (open.back().place != nullptr) open.back().place->endTag = {endTag, tokens.Offset()};
    TakeText(element, element.firstChild == nullptr);
    open.pop_back();
    return true;
}

// Up to the first token that is no attribute's name; it is then the current one.
bool qrv_xml_parser::State::ReadAttributes(XmlElement& element, const char* unterminated, XmlPosition start) {
    XmlAttributeList attributes(tree, element);
    for (;;) {
        if (!tokens.Next(Blanks::Skip)) return *tokens.Error() == 0 ? FailAt(start, unterminated) : false;
        if (!tokens.IsName()) return true;
        if (!ReadAttribute(attributes)) return false;
    }
}

bool qrv_xml_parser::State::ReadAttribute(XmlAttributeList& attributes) {
    if (IsRefusedFirst(tokens.Token().front())) return Fail("attribute must not begin with .- or number");
    const std::string_view name = tree.Keep(tokens.Token());
    const size_t nameOffset = tokens.TokenOffset();
    if (!tokens.Next(Blanks::Skip) || !tokens.Is('=')) return Fail("attribute name must be followed by '='");
    if (!tokens.Next(Blanks::Skip)) {
        if (*tokens.Error() != 0) return false;
        return Fail(tokens.IsString() ? "attribute value missing trailing quote"
                                      : "attribute value must be quoted string");
    }
    if (!tokens.IsString()) return Fail("attribute value must be quoted string");
    if (tree.IsFull()) return Fail("too many attributes");
    if (!attributes.Add(name, tokens.Token())) return Fail("attribute specified more than once");
    NotePlace(*attributes.Last(), nameOffset, {tokens.TokenOffset(), tokens.Offset()});
    return true;
}

qrv_xml_parser::qrv_xml_parser() : state_(std::make_unique<State>(*this)) {}
qrv_xml_parser::~qrv_xml_parser() = default;

void qrv_xml_parser::NotePlaces(XmlPlaces& places) {
    state_->places = &places;
}
void qrv_xml_parser::EndBehindRoot() {
    state_->endsBehindRoot = true;
}
const char* qrv_xml_parser::Parse() {
    return state_->Parse();
}
const XmlElement* qrv_xml_parser::Root() const {
    return state_->root;
}
const XmlElement* qrv_xml_parser::Declaration() const {
    return state_->declaration;
}
const std::vector<const XmlElement*>& qrv_xml_parser::ProcessingInstructions() const {
    return state_->instructions;
}
std::string_view qrv_xml_parser::DocType() const {
    return state_->docType;
}
int qrv_xml_parser::ErrorLine() const {
    return static_cast<int>(state_->failurePosition.line);
}
int qrv_xml_parser::ErrorColumn() const {
    return static_cast<int>(state_->failurePosition.column);
}

int64_t XmlMemoryParser::MoreData(const uint8_t** data) {
    *data = data_;
    return static_cast<int64_t>(std::exchange(bytes_, 0));
}

}  // namespace vantor
