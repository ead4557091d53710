#include <objbase.h>
#include <wincodec.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/picture_decoder.h"

namespace vantor::platform {

namespace {

template <typename Interface>
class ComPtr {
  public:
    ComPtr() = default;
    ~ComPtr() {
        if (object_) object_->Release();
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;

    Interface** Place() { return &object_; }
    Interface* operator->() const { return object_; }
    Interface* Get() const { return object_; }

  private:
    Interface* object_ = nullptr;
};

// COM on this thread, in whichever way its owner already has it.
class ComUse {
  public:
    ComUse() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~ComUse() {
        if (SUCCEEDED(result_)) CoUninitialize();
    }
    ComUse(const ComUse&) = delete;
    ComUse& operator=(const ComUse&) = delete;

  private:
    HRESULT result_;
};

bool Succeeds(HRESULT result) {
    return SUCCEEDED(result);
}

struct Decoding {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
};

bool OpenFrame(Decoding& decoding, std::span<const uint8_t> bytes) {
    auto* const data = const_cast<BYTE*>(bytes.data());  // the stream is only read
    return Succeeds(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_IWICImagingFactory,
                                     reinterpret_cast<void**>(decoding.factory.Place()))) &&
           Succeeds(decoding.factory->CreateStream(decoding.stream.Place())) &&
           Succeeds(decoding.stream->InitializeFromMemory(data, static_cast<DWORD>(bytes.size()))) &&
           Succeeds(decoding.factory->CreateDecoderFromStream(
               decoding.stream.Get(), nullptr, WICDecodeMetadataCacheOnDemand, decoding.decoder.Place())) &&
           Succeeds(decoding.decoder->GetFrame(0, decoding.frame.Place()));
}

int32_t Scaled(int32_t length, double factor) {
    return std::max(1, static_cast<int32_t>(std::lround(length * factor)));
}

// Scales while it decodes, so that no more than the small picture is held whole.
bool TakePixels(const Decoding& decoding, Picture& picture) {
    ComPtr<IWICBitmapScaler> scaler;
    ComPtr<IWICFormatConverter> converter;
    const UINT stride = static_cast<UINT>(picture.width) * 4;
    picture.pixels.resize(size_t{stride} * static_cast<size_t>(picture.height));
    return Succeeds(decoding.factory->CreateFormatConverter(converter.Place())) &&
           Succeeds(converter->Initialize(decoding.frame.Get(), GUID_WICPixelFormat32bppPBGRA,
                                          WICBitmapDitherTypeNone, nullptr, 0,
                                          WICBitmapPaletteTypeMedianCut)) &&
           Succeeds(decoding.factory->CreateBitmapScaler(scaler.Place())) &&
           Succeeds(scaler->Initialize(converter.Get(), static_cast<UINT>(picture.width),
                                       static_cast<UINT>(picture.height), WICBitmapInterpolationModeFant)) &&
           Succeeds(scaler->CopyPixels(nullptr, stride, static_cast<UINT>(picture.pixels.size()),
                                       picture.pixels.data()));
}

bool SetSize(const Decoding& decoding, Picture& picture, int32_t boxWidth, int32_t boxHeight) {
    constexpr UINT most = std::numeric_limits<int32_t>::max();
    UINT width = 0, height = 0;
    if (!Succeeds(decoding.frame->GetSize(&width, &height)) || width < 1 || height < 1 || width > most ||
        height > most)
        return false;
    picture.storedWidth = static_cast<int32_t>(width);
    picture.storedHeight = static_cast<int32_t>(height);
    const double factor =
        std::min({1.0, boxWidth / static_cast<double>(width), boxHeight / static_cast<double>(height)});
    picture.width = Scaled(picture.storedWidth, factor);
    picture.height = Scaled(picture.storedHeight, factor);
    return true;
}

}  // namespace

std::optional<Picture> DecodePicture(std::span<const uint8_t> bytes, int32_t boxWidth, int32_t boxHeight) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<DWORD>::max() || boxWidth < 1 || boxHeight < 1)
        return std::nullopt;
    const ComUse com;
    Decoding decoding;
    Picture picture;
    if (!OpenFrame(decoding, bytes) || !SetSize(decoding, picture, boxWidth, boxHeight)) return std::nullopt;
    if (int64_t{picture.storedWidth} * picture.storedHeight > mostDecodedPixels) return picture;
    if (!TakePixels(decoding, picture)) return std::nullopt;
    return picture;
}

}  // namespace vantor::platform
