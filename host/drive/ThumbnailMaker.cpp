#include "host/drive/ThumbnailMaker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

// clang-format off
// libjpeg's header needs FILE and size_t declared first.
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
// clang-format on

namespace velune::host {

namespace {

constexpr long long kMaximumPixels = 40'000'000;

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using SurfacePointer = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

bool hasSignature(FILE* file, const unsigned char* signature, size_t length) {
  std::vector<unsigned char> head(length);
  const bool matches =
      std::fread(head.data(), 1, length, file) == length && std::memcmp(head.data(), signature, length) == 0;
  std::rewind(file);
  return matches;
}

// PNG dimensions from the IHDR chunk, to refuse huge pictures before decoding.
bool pngSizeIsReasonable(FILE* file) {
  unsigned char header[24];
  const bool read = std::fread(header, 1, sizeof header, file) == sizeof header;
  std::rewind(file);
  if (!read) {
    return false;
  }
  auto big = [&](int at) {
    return (static_cast<unsigned long long>(header[at]) << 24) |
           (static_cast<unsigned long long>(header[at + 1]) << 16) |
           (static_cast<unsigned long long>(header[at + 2]) << 8) | static_cast<unsigned long long>(header[at + 3]);
  };
  const unsigned long long width = big(16);
  const unsigned long long height = big(20);
  return width > 0 && height > 0 && width * height <= static_cast<unsigned long long>(kMaximumPixels);
}

cairo_status_t readPNGBytes(void* closure, unsigned char* data, unsigned int length) {
  return std::fread(data, 1, length, static_cast<FILE*>(closure)) == length ? CAIRO_STATUS_SUCCESS
                                                                            : CAIRO_STATUS_READ_ERROR;
}

// From the file already checked, not by its path again: what is decoded is
// what was checked.
SurfacePointer decodePNG(FILE* file) {
  SurfacePointer surface(cairo_image_surface_create_from_png_stream(&readPNGBytes, file));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    return nullptr;
  }
  return surface;
}

struct JpegErrorManager {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

void jpegErrorExit(j_common_ptr info) {
  auto* manager = reinterpret_cast<JpegErrorManager*>(info->err);
  std::longjmp(manager->jump, 1);
}

void jpegSilence(j_common_ptr /*info*/) {}

// Decodes at the smallest libjpeg scale that is still at least `edge` on its
// longer side. No C++ object with a destructor lives across the setjmp.
cairo_surface_t* decodeJPEGInto(FILE* file, int edge) {
  jpeg_decompress_struct info;
  JpegErrorManager errors;
  info.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = jpegErrorExit;
  errors.base.output_message = jpegSilence;
  cairo_surface_t* volatile surface = nullptr;
  if (setjmp(errors.jump) != 0) {
    jpeg_destroy_decompress(&info);
    if (surface != nullptr) {
      cairo_surface_destroy(surface);
    }
    return nullptr;
  }
  jpeg_create_decompress(&info);
  jpeg_stdio_src(&info, file);
  jpeg_read_header(&info, TRUE);
  if (static_cast<long long>(info.image_width) * info.image_height > kMaximumPixels * 4) {
    jpeg_destroy_decompress(&info);
    return nullptr;
  }
  info.out_color_space = JCS_RGB;
  info.scale_num = 1;
  info.scale_denom = 1;
  const unsigned longer = info.image_width > info.image_height ? info.image_width : info.image_height;
  for (unsigned denominator : {8U, 4U, 2U}) {
    if (longer / denominator >= static_cast<unsigned>(edge)) {
      info.scale_denom = denominator;
      break;
    }
  }
  jpeg_start_decompress(&info);
  const int width = static_cast<int>(info.output_width);
  const int height = static_cast<int>(info.output_height);
  surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    jpeg_destroy_decompress(&info);
    cairo_surface_destroy(surface);
    return nullptr;
  }
  cairo_surface_flush(surface);
  unsigned char* pixels = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  JSAMPARRAY row =
      (*info.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE, info.output_width * 3, 1);
  while (info.output_scanline < info.output_height) {
    const int y = static_cast<int>(info.output_scanline);
    jpeg_read_scanlines(&info, row, 1);
    auto* out = reinterpret_cast<std::uint32_t*>(pixels + static_cast<ptrdiff_t>(y) * stride);
    for (int x = 0; x < width; ++x) {
      const unsigned char* rgb = row[0] + x * 3;
      out[x] =
          0xFF000000U | (static_cast<std::uint32_t>(rgb[0]) << 16) | (static_cast<std::uint32_t>(rgb[1]) << 8) | rgb[2];
    }
  }
  cairo_surface_mark_dirty(surface);
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return surface;
}

std::shared_ptr<ui::Image> fitIntoSquare(cairo_surface_t* picture, int edge) {
  const int width = cairo_image_surface_get_width(picture);
  const int height = cairo_image_surface_get_height(picture);
  if (width <= 0 || height <= 0) {
    return nullptr;
  }
  cairo_surface_t* canvas = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, edge, edge);
  if (cairo_surface_status(canvas) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(canvas);
    return nullptr;
  }
  const double scale = std::min(1.0, std::min(static_cast<double>(edge) / width, static_cast<double>(edge) / height));
  const double drawnWidth = width * scale;
  const double drawnHeight = height * scale;
  cairo_t* context = cairo_create(canvas);
  cairo_translate(context, (edge - drawnWidth) / 2.0, (edge - drawnHeight) / 2.0);
  cairo_scale(context, scale, scale);
  cairo_set_source_surface(context, picture, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_GOOD);
  cairo_paint(context);
  cairo_destroy(context);
  cairo_surface_flush(canvas);
  return std::make_shared<ui::Image>(canvas, 1.0);
}

}  // namespace

std::shared_ptr<ui::Image> ThumbnailMaker::thumbnailOfFile(const std::string& path, int edge) {
  static const unsigned char kPNG[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  static const unsigned char kJPEG[] = {0xFF, 0xD8, 0xFF};
  // A FIFO or a device under a picture's name must not block the reader:
  // opened without waiting, and only a regular file is read.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    return nullptr;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || ::fcntl(fd, F_SETFL, O_RDONLY) != 0) {
    ::close(fd);
    return nullptr;
  }
  FILE* file = ::fdopen(fd, "rb");
  if (file == nullptr) {
    ::close(fd);
    return nullptr;
  }
  SurfacePointer picture;
  if (hasSignature(file, kPNG, sizeof kPNG)) {
    const bool reasonable = pngSizeIsReasonable(file);
    if (reasonable) {
      picture = decodePNG(file);
    }
    std::fclose(file);
    if (!reasonable) {
      return nullptr;
    }
  } else if (hasSignature(file, kJPEG, sizeof kJPEG)) {
    picture.reset(decodeJPEGInto(file, edge));
    std::fclose(file);
  } else {
    std::fclose(file);
    return nullptr;
  }
  if (!picture) {
    return nullptr;
  }
  return fitIntoSquare(picture.get(), edge);
}

}  // namespace velune::host
