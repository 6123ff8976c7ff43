#include "devices/gst_frame_source.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/colorbalance.h>
#include <gst/video/video.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <vector>

namespace devices {
namespace {

constexpr int kMinBrightness = -112;
constexpr int kMaxBrightness = 143;
constexpr size_t kFramePixels = size_t(kFrameWidth) * kFrameHeight;

std::atomic<int> g_live_pipelines{0};

// What the source appends to the description: the driver's frame in the
// driver's word layout, one buffer kept, older ones dropped.
std::string PipelineText(const std::string& description) {
  return description +
         " ! videoconvert ! videoscale ! capsfilter caps=video/x-raw,format=BGR16,width=" +
         std::to_string(kFrameWidth) + ",height=" + std::to_string(kFrameHeight) +
         " ! appsink name=surveycam_sink max-buffers=1 drop=true";
}

bool InitGstreamer(std::string& error) {
  static std::once_flag once;
  static std::string init_error;
  std::call_once(once, [] {
    GError* err = nullptr;
    if (!gst_init_check(nullptr, nullptr, &err)) {
      init_error = std::string("GStreamer cannot start: ") + (err ? err->message : "unknown");
      g_clear_error(&err);
    }
  });
  error = init_error;
  return init_error.empty();
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
    return char(std::tolower(c));
  });
  return text;
}

// The software gain: the simulated sensor multiplies the light by
// 2^(brightness / 32); on gamma-encoded video (gamma 2.2) that is
// 2^(brightness / 70.4) on each component. One table entry per 5-6-5 word.
void BuildGainTable(int brightness, std::vector<uint16_t>& table) {
  const double gain = std::exp2(double(brightness) / (32.0 * 2.2));
  auto scale = [gain](int v, int max) { return std::min(max, int(std::lround(v * gain))); };
  table.resize(65536);
  for (int word = 0; word < 65536; ++word) {
    const int b = scale(word >> 11, 31), g = scale((word >> 5) & 63, 63), r = scale(word & 31, 31);
    table[size_t(word)] = uint16_t((b << 11) | (g << 5) | r);
  }
}

}  // namespace

struct GstFrameSource::Impl {
  GstSourceOptions options;
  GstElement* pipeline = nullptr;
  GstElement* sink = nullptr;
  GstBus* bus = nullptr;
  GstColorBalance* balance = nullptr;  // the v4l2src offering the control, if any
  GstColorBalanceChannel* channel = nullptr;
  std::mutex start_mutex;
  bool started = false;
  bool live = false;

  mutable std::mutex mutex;
  std::condition_variable arrived;
  bool failed = false;
  std::string error;
  GstSample* fresh = nullptr;  // the newest picture not yet served
  std::chrono::steady_clock::time_point fresh_arrival;
  GstSample* last = nullptr;  // the picture served last
  std::chrono::steady_clock::time_point last_arrival;
  std::chrono::steady_clock::time_point start_time;
  uint64_t pulled = 0;

  int control_value = INT_MIN;  // brightness last sent to the camera control
  int gain_brightness = 0;      // brightness the gain table was built for
  std::vector<uint16_t> gain_table;

  void Fail(const std::string& why) {
    std::lock_guard lock(mutex);
    if (!failed) error = why;
    failed = true;
  }

  // Streaming thread: the newest picture replaces any one not yet served.
  static GstFlowReturn OnSample(GstAppSink* appsink, gpointer data) {
    auto* self = static_cast<Impl*>(data);
    GstSample* pulled = gst_app_sink_pull_sample(appsink);
    if (!pulled) return GST_FLOW_OK;
    // A sample of our own around the same buffer: the sink reuses its
    // sample object while nobody else holds it.
    GstSample* sample = gst_sample_new(
        gst_sample_get_buffer(pulled), gst_sample_get_caps(pulled), nullptr, nullptr);
    gst_sample_unref(pulled);
    {
      std::lock_guard lock(self->mutex);
      if (self->fresh) gst_sample_unref(self->fresh);
      self->fresh = sample;
      self->fresh_arrival = std::chrono::steady_clock::now();
    }
    self->arrived.notify_all();
    return GST_FLOW_OK;
  }

  // Errors end the source; the end of a file starts it again or holds the
  // last frame. Runs without the lock: a flushing seek waits for the
  // streaming thread, which may be waiting for the lock.
  void PollBus() {
    if (!bus) return;
    while (GstMessage* message =
               gst_bus_pop_filtered(bus, GstMessageType(GST_MESSAGE_ERROR | GST_MESSAGE_EOS))) {
      if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* err = nullptr;
        gst_message_parse_error(message, &err, nullptr);
        Fail(std::string("the pipeline stopped: ") + (err ? err->message : "error"));
        g_clear_error(&err);
      } else if (options.loop && !live) {
        gst_element_seek_simple(pipeline,
                                GST_FORMAT_TIME,
                                GstSeekFlags(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT),
                                0);
      }
      gst_message_unref(message);
    }
  }

  // The first error waiting on the bus, for a pipeline that refused to start.
  std::string BusError() {
    GstMessage* message = gst_bus_timed_pop_filtered(bus, 100 * GST_MSECOND, GST_MESSAGE_ERROR);
    if (!message) return "the pipeline did not start";
    GError* err = nullptr;
    gst_message_parse_error(message, &err, nullptr);
    std::string text = std::string("the pipeline did not start: ") + (err ? err->message : "");
    g_clear_error(&err);
    gst_message_unref(message);
    return text;
  }

  // A v4l2src with a brightness (else exposure) control takes the exposure.
  void FindCameraControl() {
    GstIterator* it = gst_bin_iterate_recurse(GST_BIN(pipeline));
    GValue item = G_VALUE_INIT;
    while (!balance && gst_iterator_next(it, &item) == GST_ITERATOR_OK) {
      auto* element = GST_ELEMENT(g_value_get_object(&item));
      GstElementFactory* factory = gst_element_get_factory(element);
      if (factory && std::string(GST_OBJECT_NAME(factory)) == "v4l2src" &&
          GST_IS_COLOR_BALANCE(element)) {
        auto* candidate = GST_COLOR_BALANCE(element);
        for (const char* name : {"brightness", "exposure"}) {
          for (const GList* l = gst_color_balance_list_channels(candidate); l && !channel;
               l = l->next) {
            auto* c = GST_COLOR_BALANCE_CHANNEL(l->data);
            if (Lower(c->label).find(name) != std::string::npos) channel = c;
          }
        }
        if (channel) balance = GST_COLOR_BALANCE(gst_object_ref(element));
      }
      g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(it);
  }

  void SetExposure(int brightness) {
    brightness = std::clamp(brightness, kMinBrightness, kMaxBrightness);
    if (balance) {
      if (brightness == control_value) return;
      control_value = brightness;
      const int span = channel->max_value - channel->min_value;
      gst_color_balance_set_value(balance,
                                  channel,
                                  channel->min_value + (brightness - kMinBrightness) * span /
                                                           (kMaxBrightness - kMinBrightness));
    } else if (brightness != gain_brightness || gain_table.empty()) {
      gain_brightness = brightness;
      BuildGainTable(brightness, gain_table);
    }
  }

  // One copy from the pipeline's buffer into the driver's, through the gain
  // table when a software gain is in effect.
  void CopyFrame(GstSample* sample, uint16_t* pixels) const {
    GstVideoInfo info;
    GstVideoFrame frame;
    if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) ||
        !gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
      std::fill(pixels, pixels + kFramePixels, uint16_t{0});
      return;
    }
    const bool gain = !balance && gain_brightness != 0;
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const auto* data = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    if (!gain && stride == kFrameWidth * 2) {
      std::memcpy(pixels, data, kFramePixels * 2);
    } else {
      for (int y = 0; y < kFrameHeight; ++y) {
        const auto* row = reinterpret_cast<const uint16_t*>(data + size_t(y) * stride);
        uint16_t* out = pixels + size_t(y) * kFrameWidth;
        if (gain) {
          for (int x = 0; x < kFrameWidth; ++x) out[x] = gain_table[row[x]];
        } else {
          std::memcpy(out, row, kFrameWidth * 2);
        }
      }
    }
    gst_video_frame_unmap(&frame);
  }
};

GstFrameSource::GstFrameSource(std::string description, GstSourceOptions options)
    : description_(std::move(description)), impl_(std::make_unique<Impl>()) {
  impl_->options = options;
}

GstFrameSource::~GstFrameSource() {
  Impl& d = *impl_;
  if (d.pipeline) {
    gst_element_set_state(d.pipeline, GST_STATE_NULL);
    gst_object_unref(d.pipeline);
  }
  if (d.sink) gst_object_unref(d.sink);
  if (d.bus) gst_object_unref(d.bus);
  if (d.balance) gst_object_unref(d.balance);
  if (d.fresh) gst_sample_unref(d.fresh);
  if (d.last) gst_sample_unref(d.last);
}

bool GstFrameSource::Start() {
  Impl& d = *impl_;
  std::lock_guard start_lock(d.start_mutex);
  if (d.started) {
    std::lock_guard lock(d.mutex);
    return !d.failed;
  }
  d.started = true;
  d.start_time = std::chrono::steady_clock::now();
  std::string error;
  if (!InitGstreamer(error)) {
    d.Fail(error);
    return false;
  }
  GError* err = nullptr;
  GstElement* pipeline = gst_parse_launch(PipelineText(description_).c_str(), &err);
  if (err || !pipeline) {
    d.Fail("the pipeline cannot be built: " + std::string(err ? err->message : "unknown"));
    g_clear_error(&err);
    if (pipeline) gst_object_unref(pipeline);
    return false;
  }
  ++g_live_pipelines;
  g_object_weak_ref(
      G_OBJECT(pipeline), [](gpointer, GObject*) { --g_live_pipelines; }, nullptr);
  d.pipeline = pipeline;
  d.bus = gst_element_get_bus(pipeline);
  d.sink = gst_bin_get_by_name(GST_BIN(pipeline), "surveycam_sink");
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = &Impl::OnSample;
  gst_app_sink_set_callbacks(GST_APP_SINK(d.sink), &callbacks, &d, nullptr);

  GstStateChangeReturn ret = gst_element_set_state(pipeline, GST_STATE_PLAYING);
  if (ret != GST_STATE_CHANGE_FAILURE)
    ret = gst_element_get_state(
        pipeline, nullptr, nullptr, GstClockTime(d.options.start_timeout_ms) * GST_MSECOND);
  if (ret == GST_STATE_CHANGE_FAILURE) {
    d.Fail(d.BusError());
    gst_element_set_state(pipeline, GST_STATE_NULL);
    return false;
  }
  d.live = ret == GST_STATE_CHANGE_NO_PREROLL;
  d.FindCameraControl();
  return true;
}

void GstFrameSource::Render(const FrameRequest& request, uint16_t* pixels) {
  Impl& d = *impl_;
  if (!Start()) {
    std::fill(pixels, pixels + kFramePixels, uint16_t{0});
    return;
  }
  d.PollBus();
  d.SetExposure(request.brightness);
  std::unique_lock lock(d.mutex);
  // The first picture may take the start timeout; later ones a frame wait,
  // after which the last picture is served again.
  const auto deadline =
      d.last ? std::chrono::steady_clock::now() + std::chrono::milliseconds(d.options.frame_wait_ms)
             : d.start_time + std::chrono::milliseconds(d.options.start_timeout_ms);
  d.arrived.wait_until(lock, deadline, [&d] { return d.fresh != nullptr || d.failed; });
  if (d.fresh && !d.failed) {
    if (d.last) gst_sample_unref(d.last);
    d.last = d.fresh;
    d.last_arrival = d.fresh_arrival;
    d.fresh = nullptr;
    ++d.pulled;
  }
  if (!d.last && !d.failed) {
    d.failed = true;
    d.error = "no frame within " + std::to_string(d.options.start_timeout_ms) + " ms";
  }
  GstSample* sample = d.last ? gst_sample_ref(d.last) : nullptr;
  lock.unlock();
  if (sample) {
    d.CopyFrame(sample, pixels);
    gst_sample_unref(sample);
  } else {
    std::fill(pixels, pixels + kFramePixels, uint16_t{0});
  }
}

bool GstFrameSource::Ready(int) {
  if (!Start()) return false;
  impl_->PollBus();
  std::lock_guard lock(impl_->mutex);
  return !impl_->failed;
}

std::string GstFrameSource::Error() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->error;
}

bool GstFrameSource::HasCameraControl() const { return impl_->balance != nullptr; }

uint64_t GstFrameSource::FramesPulled() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->pulled;
}

std::chrono::steady_clock::time_point GstFrameSource::LastArrival() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->last_arrival;
}

int GstFrameSource::LivePipelines() { return g_live_pipelines.load(); }

}  // namespace devices
