#include "devices/capture_driver.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "devices/frame_source.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/device.h"
#include "platform/faults.h"
#include "platform/handles.h"

namespace devices {
namespace {

constexpr int64_t kFramePeriodMs = 33;
constexpr DWORD kErrorInsufficientBuffer = 122;
constexpr DWORD kErrorNotReady = 21;

// The built-in source: colour bars per camera with a bright band that moves
// one step per frame, shifted by the brightness value.
class TestPattern : public FrameSource {
 public:
  void Render(const FrameRequest& request, uint16_t* pixels) override {
    const int band = int((request.frame_index * 8) % kFrameWidth);
    const int lift = request.brightness;
    const uint16_t bandPixel = Pack(240 + lift, 240 + lift, 240 + lift);
    for (int y = 0; y < kFrameHeight; ++y) {
      const int g = y * 255 / (kFrameHeight - 1);
      uint16_t* row = pixels + size_t(y) * kFrameWidth;
      // The bars and the checkerboard change every 40 columns: pack each
      // 40-pixel run once.
      for (int x0 = 0; x0 < kFrameWidth; x0 += 40) {
        const int r = (x0 * 8 / kFrameWidth) * 32 + (request.camera == 0 ? 16 : 0);
        const int b = ((x0 / 40 + y / 40) % 2) * 128 + 64;
        std::fill(
            row + x0, row + std::min(x0 + 40, kFrameWidth), Pack(r + lift, g + lift, b + lift));
      }
      std::fill(row + band, row + std::min(band + 16, kFrameWidth), bandPixel);
    }
  }

 private:
  static uint16_t Pack(int r, int g, int b) { return devices::Pack565(r, g, b); }
};

std::mutex g_source_mutex;
std::shared_ptr<FrameSource>& Source() {
  static std::shared_ptr<FrameSource> source = std::make_shared<TestPattern>();
  return source;
}

std::shared_ptr<FrameSource> CurrentSource() {
  std::lock_guard lock(g_source_mutex);
  return Source();
}

}  // namespace

void SetFrameSource(std::shared_ptr<FrameSource> source) {
  std::lock_guard lock(g_source_mutex);
  Source() = source ? std::move(source) : std::make_shared<TestPattern>();
}

namespace capture {
namespace {

uint32_t PixelFrom565(uint16_t p) { return devices::Unpack565(p); }

constexpr size_t kLogLimit = 4096;

// The driver's state: one capture unit shared by every open instance.
struct State {
  std::recursive_mutex mutex;
  bool running = false;
  std::optional<VCAP_START_PARAMETER> start;
  std::optional<VCAP_DISP_PARAMETER> display;
  std::optional<VCAP_DISP_PARAMETER> per_camera[2];
  std::vector<uint16_t> frame;
  uint64_t frames = 0;
  int64_t last_frame_ms = 0;
  std::vector<Request> log;
  std::set<HANDLE> events;
};

State& S() {
  static State state;
  return state;
}

int CurrentCamera(const State& s) { return s.start ? s.start->Camera : 1; }

bool SourceReady(const State& s) { return CurrentSource()->Ready(CurrentCamera(s)); }

void SignalFrame(State& s) {
  for (HANDLE event : s.events) SetEvent(event);
}

// Renders one frame for the current start record and signals every open
// instance's frame event. A source that fails while rendering leaves the last
// good frame in place; the waiters are still woken, and the reads that follow
// fail. Caller holds the lock.
void ProduceFrame(State& s) {
  FrameRequest request;
  request.camera = s.start ? s.start->Camera : 1;
  request.brightness = s.start ? s.start->Brightness : 0;
  request.time_ms = platform::clock::NowMs();
  request.frame_index = s.frames;
  std::vector<uint16_t> pixels(size_t(kFrameWidth) * kFrameHeight);
  std::shared_ptr<FrameSource> source = CurrentSource();
  source->Render(request, pixels.data());
  s.last_frame_ms = request.time_ms;
  if (source->Ready(request.camera)) {
    if (s.start && s.start->Reverse != 0) std::reverse(pixels.begin(), pixels.end());
    s.frame = std::move(pixels);
    ++s.frames;
  }
  SignalFrame(s);
}

// Runs on a thread about to block on a frame event.
void OnFrameWait() {
  State& s = S();
  {
    // A dead source never delivers: the wait returns at once instead of
    // blocking for ever, and the reads that follow fail.
    std::lock_guard lock(s.mutex);
    if (!SourceReady(s)) return SignalFrame(s);
  }
  if (!platform::clock::IsFixed()) {
    int64_t due = 0;
    {
      std::lock_guard lock(s.mutex);
      if (!s.running) return;
      due = s.last_frame_ms + kFramePeriodMs;
    }
    int64_t wait = due - platform::clock::NowMs();
    if (wait > 0)
      std::this_thread::sleep_for(
          std::chrono::milliseconds(std::min<int64_t>(wait, kFramePeriodMs)));
  }
  std::lock_guard lock(s.mutex);
  if (s.running) ProduceFrame(s);
}

// Maps a screen pixel inside DstRect to its sensor pixel.
// The source index along one axis for destination coordinate v: the source
// span scaled onto the destination span, clamped into the sensor.
int SourceIndex(LONG srcFirst, LONG srcLast, LONG dstFirst, LONG dstLast, int v, int sensorSize) {
  const int64_t dstLen = int64_t(dstLast) - dstFirst + 1;
  const int64_t srcLen = int64_t(srcLast) - srcFirst + 1;
  return std::clamp<int>(int(srcFirst + (v - dstFirst) * srcLen / dstLen), 0, sensorSize - 1);
}

bool HasSource(const VCAP_DISP_PARAMETER& d) {
  return d.SrcRect.right >= d.SrcRect.left && d.SrcRect.bottom >= d.SrcRect.top;
}

bool SourcePixel(const VCAP_DISP_PARAMETER& d, int x, int y, int* sx, int* sy) {
  const RECT& src = d.SrcRect;
  const RECT& dst = d.DstRect;
  if (x < dst.left || x > dst.right || y < dst.top || y > dst.bottom || !HasSource(d)) return false;
  *sx = SourceIndex(src.left, src.right, dst.left, dst.right, x, kFrameWidth);
  *sy = SourceIndex(src.top, src.bottom, dst.top, dst.bottom, y, kFrameHeight);
  return true;
}

BOOL Fail(DWORD error) {
  platform::SetLastErrorCode(error);
  return FALSE;
}

bool Faulted(const char* point) { return platform::fault::Check(point).fail; }

BOOL DoStart(State& s, const void* in) {
  if (in == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  VCAP_START_PARAMETER record;
  std::memcpy(&record, in, sizeof record);
  if (record.Size != sizeof record || record.Camera > 1) return Fail(ERROR_INVALID_PARAMETER);
  if (Faulted("cap.start") || !CurrentSource()->Ready(record.Camera))
    return Fail(ERROR_GEN_FAILURE);
  s.start = record;
  s.running = true;
  s.per_camera[record.Camera] = s.display;
  return TRUE;
}

BOOL DoDisplay(State& s, const void* in) {
  if (in == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  VCAP_DISP_PARAMETER record;
  std::memcpy(&record, in, sizeof record);
  if (record.Size != sizeof record) return Fail(ERROR_INVALID_PARAMETER);
  if (Faulted("cap.display")) return Fail(ERROR_GEN_FAILURE);
  s.display = record;
  if (s.running && s.start) s.per_camera[s.start->Camera] = record;
  return TRUE;
}

BOOL DoRead(State& s, DWORD inSize, void* out, DWORD outSize, DWORD* written) {
  if (out == nullptr || inSize > 1) return Fail(ERROR_INVALID_PARAMETER);
  const bool quarter = inSize == 1;
  const int w = quarter ? kQuarterWidth : kFrameWidth;
  const int h = quarter ? kQuarterHeight : kFrameHeight;
  const DWORD needed = DWORD(w * h * 2);
  if (outSize < needed) return Fail(kErrorInsufficientBuffer);
  if (Faulted("cap.read") || !SourceReady(s)) return Fail(ERROR_GEN_FAILURE);
  if (s.frame.empty()) return Fail(kErrorNotReady);
  auto* dst = static_cast<uint16_t*>(out);
  if (!quarter) {
    std::memcpy(dst, s.frame.data(), needed);
  } else {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        dst[size_t(y) * w + x] = s.frame[size_t(2 * y) * kFrameWidth + 2 * x];
  }
  if (written) *written = needed;
  return TRUE;
}

BOOL DoReadRect(State& s, const void* in, void* out, DWORD outSize, DWORD* written) {
  if (in == nullptr || out == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  RECT rect;
  std::memcpy(&rect, in, sizeof rect);
  const int64_t w = int64_t(rect.right) - rect.left;
  const int64_t h = int64_t(rect.bottom) - rect.top;
  if (w <= 0 || h <= 0) return Fail(ERROR_INVALID_PARAMETER);
  if (uint64_t(outSize) < uint64_t(w * h * 2)) return Fail(kErrorInsufficientBuffer);
  if (Faulted("cap.read_rect") || !SourceReady(s)) return Fail(ERROR_GEN_FAILURE);
  auto* dst = static_cast<uint16_t*>(out);
  for (int64_t j = 0; j < h; ++j) {
    for (int64_t i = 0; i < w; ++i) {
      int sx = 0, sy = 0;
      uint16_t p = 0;
      if (s.display && !s.frame.empty() &&
          SourcePixel(*s.display, int(rect.left + i), int(rect.top + j), &sx, &sy))
        p = s.frame[size_t(sy) * kFrameWidth + sx];
      dst[j * w + i] = p;
    }
  }
  if (written) *written = DWORD(w * h * 2);
  return TRUE;
}

// One open instance of "CAP0:".
class CaptureDevice : public platform::devices::StreamDevice {
 public:
  CaptureDevice() {
    event_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    platform::devices::SetEventWaitHook(event_, OnFrameWait);
    std::lock_guard lock(S().mutex);
    S().events.insert(event_);
  }

  BOOL IoControl(
      DWORD code, void* in, DWORD inSize, void* out, DWORD outSize, DWORD* bytesReturned) override {
    State& s = S();
    std::lock_guard lock(s.mutex);
    BOOL result = Dispatch(s, code, in, inSize, out, outSize, bytesReturned);
    Request request{
        code, inSize, outSize, in != nullptr, out != nullptr, bytesReturned != nullptr, result, {}};
    size_t record = code == IOCTL_VCAP_START_CAPTURE      ? sizeof(VCAP_START_PARAMETER)
                    : code == IOCTL_VCAP_SET_DISPLAY      ? sizeof(VCAP_DISP_PARAMETER)
                    : code == IOCTL_VCAP_GET_CAPTURE_RECT ? sizeof(RECT)
                                                          : 0;
    if (in != nullptr && record != 0) {
      auto* bytes = static_cast<const uint8_t*>(in);
      request.input.assign(bytes, bytes + record);
    }
    // The log keeps the latest requests only, so a long session does not
    // grow without bound.
    if (s.log.size() >= kLogLimit) s.log.erase(s.log.begin(), s.log.begin() + kLogLimit / 2);
    s.log.push_back(std::move(request));
    return result;
  }

  bool Close() override {
    State& s = S();
    {
      std::lock_guard lock(s.mutex);
      s.events.erase(event_);
      if (s.events.empty()) s.running = false;
    }
    CloseHandle(event_);
    return true;
  }

 private:
  BOOL Dispatch(State& s,
                DWORD code,
                void* in,
                DWORD inSize,
                void* out,
                DWORD outSize,
                DWORD* bytesReturned) {
    switch (code) {
      case IOCTL_VCAP_START_CAPTURE:
        return DoStart(s, in);
      case IOCTL_VCAP_STOP_CAPTURE:
        if (Faulted("cap.stop")) return Fail(ERROR_GEN_FAILURE);
        s.running = false;
        return TRUE;
      case IOCTL_VCAP_GET_CAPTURE_DATA:
        return DoRead(s, inSize, out, outSize, bytesReturned);
      case IOCTL_VCAP_READ_EVENT:
        if (bytesReturned == nullptr) return Fail(ERROR_INVALID_PARAMETER);
        if (Faulted("cap.event")) return Fail(ERROR_GEN_FAILURE);
        std::memcpy(bytesReturned, &event_, sizeof event_);
        return TRUE;
      case IOCTL_VCAP_SET_DISPLAY:
        return DoDisplay(s, in);
      case IOCTL_VCAP_GET_CAPTURE_RECT:
        return DoReadRect(s, in, out, outSize, bytesReturned);
      default:
        return Fail(ERROR_INVALID_PARAMETER);
    }
  }

  HANDLE event_ = nullptr;
};

// Paints after every paint pass of the desktop. Installed again at every
// open, because resetting the desktop drops its present hooks.
void InstallPresentHook() {
  static std::mutex mutex;
  static int id = -1;
  std::lock_guard lock(mutex);
  if (id >= 0) platform::RemovePresentHook(id);
  id = platform::AddPresentHook([](platform::Framebuffer& screen) { Paint(screen); });
}

platform::devices::OpenResult OpenDevice(DWORD, DWORD) {
  platform::fault::Hit hit = platform::fault::Check("cap.open");
  if (hit.fail) return {nullptr, ERROR_GEN_FAILURE, hit.code == 1};
  InstallPresentHook();
  return {std::make_shared<CaptureDevice>()};
}

}  // namespace

void Register() { platform::devices::RegisterStreamDriver(kDeviceName, OpenDevice); }

void Reset() {
  State& s = S();
  std::lock_guard lock(s.mutex);
  s.running = false;
  s.start.reset();
  s.display.reset();
  s.per_camera[0].reset();
  s.per_camera[1].reset();
  s.frame.clear();
  s.frames = 0;
  s.last_frame_ms = 0;
  s.log.clear();
}

bool IsRunning() {
  std::lock_guard lock(S().mutex);
  return S().running;
}

std::optional<VCAP_START_PARAMETER> LastStart() {
  std::lock_guard lock(S().mutex);
  return S().start;
}

std::optional<VCAP_DISP_PARAMETER> LastDisplay() {
  std::lock_guard lock(S().mutex);
  return S().display;
}

std::optional<VCAP_DISP_PARAMETER> DisplayForCamera(int camera) {
  if (camera < 0 || camera > 1) return std::nullopt;
  std::lock_guard lock(S().mutex);
  return S().per_camera[camera];
}

std::vector<Request> Log() {
  std::lock_guard lock(S().mutex);
  return S().log;
}

void ClearLog() {
  std::lock_guard lock(S().mutex);
  S().log.clear();
}

uint64_t FramesProduced() {
  std::lock_guard lock(S().mutex);
  return S().frames;
}

int OpenInstances() {
  std::lock_guard lock(S().mutex);
  return int(S().events.size());
}

std::vector<uint16_t> CurrentFrame() {
  std::lock_guard lock(S().mutex);
  return S().frame;
}

void Paint(platform::Framebuffer& screen) {
  State& s = S();
  std::lock_guard lock(s.mutex);
  if (s.running) {
    int64_t now = platform::clock::NowMs();
    bool due = platform::clock::IsFixed() ? now != s.last_frame_ms
                                          : now - s.last_frame_ms >= kFramePeriodMs;
    if (s.frame.empty() || due) ProduceFrame(s);
  }
  if (!s.display || s.display->DispEnable == 0 || s.frame.empty()) return;
  const VCAP_DISP_PARAMETER& d = *s.display;
  const uint32_t key1 = platform::PixelFromColorref(d.KeyColor1);
  const uint32_t key2 = platform::PixelFromColorref(d.KeyColor2);
  const int top = std::max(0, int(d.DstRect.top)),
            bottom = std::min(screen.height - 1, int(d.DstRect.bottom));
  const int left = std::max(0, int(d.DstRect.left)),
            right = std::min(screen.width - 1, int(d.DstRect.right));
  if (left > right || top > bottom || !HasSource(d)) return;
  // The scaling is worked out once a column and once a row, not per pixel.
  std::vector<int> columns(size_t(right - left + 1));
  for (int x = left; x <= right; ++x)
    columns[size_t(x - left)] = SourceIndex(
        d.SrcRect.left, d.SrcRect.right, d.DstRect.left, d.DstRect.right, x, kFrameWidth);
  for (int y = top; y <= bottom; ++y) {
    const int sy = SourceIndex(
        d.SrcRect.top, d.SrcRect.bottom, d.DstRect.top, d.DstRect.bottom, y, kFrameHeight);
    const uint16_t* sourceRow = s.frame.data() + size_t(sy) * kFrameWidth;
    uint32_t* row = &screen.At(left, y);
    for (size_t i = 0; i < columns.size(); ++i)
      if (row[i] == key1 || row[i] == key2) row[i] = PixelFrom565(sourceRow[columns[i]]);
  }
}

}  // namespace capture
}  // namespace devices
