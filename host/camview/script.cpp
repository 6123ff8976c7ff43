#include "host/camview/script.h"

#include <map>
#include <sstream>

namespace host {
namespace {

struct Arity {
  int min;
  int max;
};

const std::map<std::string, Arity>& Verbs() {
  static const std::map<std::string, Arity> verbs = {
      {"turn", {2, 2}},          {"nudge", {2, 2}},         {"point", {1, 3}},
      {"camera", {1, 1}},        {"zoom", {1, 1}},          {"mode", {1, 1}},
      {"measure", {0, 0}},       {"tap", {2, 2}},           {"tap-target", {1, 1}},
      {"aim", {0, 0}},           {"key", {1, 1}},           {"exposure", {1, 1}},
      {"scene", {1, 1}},         {"wait", {1, 1}},          {"settle", {0, 0}},
      {"snapshot", {0, 0}},      {"resume", {0, 0}},        {"save", {0, 0}},
      {"export-camera", {1, 1}}, {"export-orient", {1, 1}}, {"screenshot", {1, 1}},
      {"boards", {2, 2}},        {"station", {1, 1}},       {"project-new", {1, 1}},
      {"project-photo", {0, 0}}, {"project-solve", {0, 1}},
  };
  return verbs;
}

bool IsNumber(const std::string& word) {
  std::istringstream in(word);
  double value;
  in >> value;
  return !in.fail() && in.eof();
}

// Verbs whose arguments must all be numbers.
bool NumericVerb(const std::string& verb) {
  return verb == "turn" || verb == "nudge" || verb == "camera" || verb == "tap" ||
         verb == "exposure" || verb == "wait" || verb == "boards" || verb == "project-solve";
}

// Verbs whose arguments after the first must be numbers.
bool NumericTail(const std::string& verb) { return verb == "point"; }

}  // namespace

ParseResult ParseScript(const std::string& text) {
  ParseResult result;
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    std::string content = line.substr(0, line.find('#'));
    std::istringstream words(content);
    Step step;
    step.line = number;
    step.text = content;
    if (!(words >> step.verb)) continue;
    for (std::string word; words >> word;) step.args.push_back(word);
    auto verb = Verbs().find(step.verb);
    if (verb == Verbs().end()) {
      result.error = "line " + std::to_string(number) + ": unknown step '" + step.verb + "'";
      return result;
    }
    int n = int(step.args.size());
    if (n < verb->second.min || n > verb->second.max) {
      result.error = "line " + std::to_string(number) + ": '" + step.verb + "' takes " +
                     std::to_string(verb->second.min) + " argument(s), got " + std::to_string(n);
      return result;
    }
    if (step.verb == "point" && n == 2) {
      result.error =
          "line " + std::to_string(number) + ": 'point' takes a name and optionally dV dH";
      return result;
    }
    if (NumericVerb(step.verb) || NumericTail(step.verb)) {
      for (size_t k = NumericTail(step.verb) ? 1 : 0; k < step.args.size(); ++k) {
        const std::string& arg = step.args[k];
        if (!IsNumber(arg)) {
          result.error = "line " + std::to_string(number) + ": '" + arg + "' is not a number";
          return result;
        }
      }
    }
    while (!step.text.empty() && (step.text.back() == ' ' || step.text.back() == '\r'))
      step.text.pop_back();
    result.steps.push_back(step);
  }
  return result;
}

const char* DefaultScript() {
  return R"(# camview's default field session on the simulated instrument.
turn 90 30               # the wide camera looks over the site: survey points drawn
zoom in
zoom out
camera 0                 # the telescope's camera
point T3 0.03 -0.04      # near target T3
mode offset
nudge -0.01 0.02         # the offset marker follows the turn
mode corner
measure                  # a distance was measured: taps are taken
tap-target T3
aim                      # the telescope turns onto the corner marked near the tap
exposure 1
scene dark
settle                   # auto exposure brings the picture back
snapshot
save
resume
scene normal
camera 1
export-camera camera_wide.cmr
export-orient orient.txt
)";
}

}  // namespace host
