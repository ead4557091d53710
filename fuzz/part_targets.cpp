// The XML parser, the ADPCM decoder and the reader of saved states.
#include <algorithm>
#include <memory>
#include <string>

#include "decode/adpcm_decoder.h"
#include "formats/audio_format.h"
#include "fuzz/world.h"
#include "xml/xml_parser.h"

namespace vantor::fuzz {

namespace {

// Hands the document out in pieces of its own memory each, so that a byte read beyond one is seen.
class PiecewiseParser final : public qrv_xml_parser {
  public:
    PiecewiseParser(Input document, size_t pieceBytes) : left_(document), pieceBytes_(pieceBytes) {}
    int64_t MoreData(const uint8_t** data) override {
        const auto piece = left_.first(std::min(pieceBytes_, left_.size()));
        left_ = left_.subspan(piece.size());
        piece_.reset(new uint8_t[piece.size() + 1]);
        std::copy(piece.begin(), piece.end(), piece_.get());
        *data = piece_.get();
        return static_cast<int64_t>(piece.size());
    }

  private:
    Input left_;
    size_t pieceBytes_;
    std::unique_ptr<uint8_t[]> piece_;
};

// The tree in one text, for comparing.
std::string Flattened(const qrv_xml_parser& parser) {
    std::string text;
    std::vector<const XmlElement*> open;
    for (const XmlElement* element = parser.Root(); element || !open.empty();) {
        if (!element) {
            element = open.back()->nextSibling;
            open.pop_back();
            continue;
        }
        text.append("<").append(element->name).append(">").append(element->Value());
        for (const auto* attribute = element->firstAttribute; attribute; attribute = attribute->next)
            text.append(" ").append(attribute->name).append("=").append(attribute->value);
        open.push_back(element);
        element = element->firstChild;
    }
    return text;
}

}  // namespace

// However the document comes in pieces, it is the same tree or the same complaint.
void ParseXml(Input input) {
    Choices choices(input);
    const size_t pieceBytes = size_t{1} + choices.Byte();
    XmlMemoryParser whole(input.data(), input.size());
    PiecewiseParser pieces(input, pieceBytes);
    const char* const complaint = whole.Parse();
    const char* const complaintOnPieces = pieces.Parse();
    Require(!complaint == !complaintOnPieces, "same outcome");
    if (complaint) {
        Require(std::string_view(complaint) == complaintOnPieces, "same complaint");
        Require(whole.ErrorLine() == pieces.ErrorLine() && whole.ErrorColumn() == pieces.ErrorColumn(),
                "same place");
    }
    Require(Flattened(whole) == Flattened(pieces), "same tree");
}

// The last bytes choose the coding, the others are its blocks.
void DecodeAdpcm(Input input) {
    Choices choices(input);
    constexpr std::array encodings = {encodingMsAdpcm, encodingImaAdpcm, encodingCAdpcm};
    AudioFormat format;
    format.encoding = encodings[static_cast<size_t>(choices.OneOf(3))];
    format.bitsPerSample = format.encoding == encodingCAdpcm ? 2 : 4;
    format.channels = choices.Byte();
    format.blockAlign = choices.Byte() * 4 + choices.OneOf(4);
    AdpcmDecoder decoder;
    decoder.Configure(format);
    if (!decoder.CanDecode()) return;
    const auto blockBytes = static_cast<size_t>(format.blockAlign);
    const int64_t step = 1 + choices.Byte();
    std::vector<double> samples(static_cast<size_t>(step * format.channels));
    while (input.size() >= blockBytes) {
        const auto most =
            std::min<size_t>(input.size() / blockBytes, static_cast<size_t>(decoder.PreferredBlocks()));
        const size_t taken = most * blockBytes;
        // A copy of just that size, so that a read past its end is found out.
        decoder.TakeBlocks(
            std::vector(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(taken)).data(),
            static_cast<int64_t>(most));
        input = input.subspan(taken);
        decoder.Skip(choices.Byte());
        while (decoder.Deliver(samples.data(), step) > 0)
            for (const double sample : samples)
                Require(sample >= -1 && sample < 1, "16-bit samples");
    }
}

void ReadSavedState(Input input) {
    constexpr size_t mostLines = 1000;
    Choices choices(input);
    World world({}, choices);
    std::vector<std::string> lines(1);
    for (const uint8_t byte : input) {
        if (byte != '\n') {
            lines.back() += static_cast<char>(byte);
        } else if (lines.size() < mostLines) {
            lines.emplace_back();
        }
    }
    test::FakeProject project(lines);
    OpenedSource source;
    static_cast<void>(source->ReadState("<SOURCE WAVE", &project));
    test::FakeProject saved;
    static_cast<void>(source->WriteState(&saved));
}

}  // namespace vantor::fuzz
