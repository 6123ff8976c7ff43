// camview: the field application on the simulated instrument. Without
// options it runs the default session; --script runs a session file;
// --window shows the screen and takes keys and clicks.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "host/camview/options.h"
#include "host/camview/script.h"
#include "host/camview/session.h"
#include "host/camview/viewer.h"

namespace {

bool ReadText(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream out;
  out << in.rdbuf();
  text = out.str();
  return true;
}

int RunSession(const host::Options& options) {
  std::string text = host::DefaultScript();
  if (!options.script.empty() && !ReadText(options.script, text)) {
    std::fprintf(stderr, "camview: cannot read the script %s\n", options.script.c_str());
    return 1;
  }
  host::ParseResult script = host::ParseScript(text);
  if (!script.error.empty()) {
    std::fprintf(stderr,
                 "camview: %s: %s\n",
                 options.script.empty() ? "default session" : options.script.c_str(),
                 script.error.c_str());
    return 1;
  }
  host::Session session(options);
  std::string error;
  if (!session.SetUp(error)) {
    std::fprintf(stderr, "camview: %s\n", error.c_str());
    return 1;
  }
  std::printf("00 start: %s\n", session.Screenshot("00_start").c_str());
  int failed = 0;
  int index = 0;
  for (const host::Step& step : script.steps) {
    ++index;
    host::StepResult result = session.Run(step);
    char name[64];
    std::snprintf(name, sizeof name, "%02d_%s", index, step.verb.c_str());
    std::string shot = session.Screenshot(name);
    std::printf("%02d %-28s %s %s\n    screenshot %s\n",
                index,
                step.text.c_str(),
                result.ok ? "ok  " : "FAIL",
                result.summary.c_str(),
                shot.c_str());
    std::fflush(stdout);
    if (!result.ok) ++failed;
  }
  session.TearDown();
  if (failed) {
    std::fprintf(stderr,
                 "camview: %d of %zu steps did not do what they should\n",
                 failed,
                 script.steps.size());
    return 1;
  }
  std::printf("camview: all %zu steps done; screenshots and files in %s\n",
              script.steps.size(),
              options.out.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  host::Options options;
  std::string error;
  if (!host::ParseOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "camview: %s\n", error.c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(host::UsageText(), stdout);
    return 0;
  }
  if (options.window) return host::RunViewer(options);
  return RunSession(options);
}
