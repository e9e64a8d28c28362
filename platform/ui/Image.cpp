#include "platform/ui/Image.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include "platform/Format.h"

namespace velune::ui {

using platform::Error;
using platform::Value;

namespace {

struct ReadCursor {
  const Value::Data* data;
  size_t offset;
};

cairo_status_t readFromData(void* closure, unsigned char* out, unsigned int length) {
  auto* cursor = static_cast<ReadCursor*>(closure);
  if (cursor->offset + length > cursor->data->size()) {
    return CAIRO_STATUS_READ_ERROR;
  }
  std::memcpy(out, cursor->data->data() + cursor->offset, length);
  cursor->offset += length;
  return CAIRO_STATUS_SUCCESS;
}

cairo_status_t appendToData(void* closure, const unsigned char* bytes, unsigned int length) {
  auto* data = static_cast<Value::Data*>(closure);
  data->insert(data->end(), bytes, bytes + length);
  return CAIRO_STATUS_SUCCESS;
}

std::shared_ptr<Image> adopt(cairo_surface_t* surface, double scale) {
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return nullptr;
  }
  return std::make_shared<Image>(surface, scale);
}

}  // namespace

Image::Image(cairo_surface_t* surface, double scale) : surface_(surface), scale_(scale > 0 ? scale : 1.0) {}

Image::~Image() { cairo_surface_destroy(surface_); }

std::shared_ptr<Image> Image::blank(Size pointSize, double scale, bool opaque) {
  if (!(scale > 0)) {
    scale = 1.0;
  }
  const auto pixels = [scale](double points) {
    return static_cast<int>(std::clamp(std::ceil(points * scale), 0.0, 32768.0));
  };
  return adopt(cairo_image_surface_create(opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, pixels(pointSize.width),
                                          pixels(pointSize.height)),
               scale);
}

std::shared_ptr<Image> Image::fromPNGData(const Value::Data& data, double scale) {
  ReadCursor cursor{&data, 0};
  return adopt(cairo_image_surface_create_from_png_stream(readFromData, &cursor), scale);
}

std::shared_ptr<Image> Image::fromPNGFile(const std::string& path, double scale) {
  return adopt(cairo_image_surface_create_from_png(path.c_str()), scale);
}

platform::Result<Value::Data> Image::pngData() const {
  Value::Data data;
  if (cairo_surface_write_to_png_stream(surface_, appendToData, &data) != CAIRO_STATUS_SUCCESS) {
    return Error::platform(platform::ErrorCode::FileWriteUnknown);
  }
  return data;
}

std::optional<Error> Image::writePNG(const std::string& path) const {
  if (cairo_surface_write_to_png(surface_, path.c_str()) != CAIRO_STATUS_SUCCESS) {
    return Error::fromErrno(errno ? errno : EIO, path, true);
  }
  return std::nullopt;
}

Size Image::size() const { return Size{pixelWidth() / scale_, pixelHeight() / scale_}; }

int Image::pixelWidth() const { return cairo_image_surface_get_width(surface_); }

int Image::pixelHeight() const { return cairo_image_surface_get_height(surface_); }

std::string Image::description() const {
  return platform::format("<Image %gx%g @%gx>", size().width, size().height, scale_);
}

}  // namespace velune::ui
