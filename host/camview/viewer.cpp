#include "host/camview/viewer.h"

#include <cstdio>

#ifdef SURVEYCAM_HAVE_SDL2
#include <SDL.h>

#include <algorithm>
#include <string>

#include "host/camview/script.h"
#include "host/camview/session.h"
#include "liveview/capture_wnd.h"
#include "platform/dc.h"
#include "platform/desktop.h"
#include "platform/framebuffer.h"
#include "platform/text.h"
#endif

namespace host {

#ifndef SURVEYCAM_HAVE_SDL2

int RunViewer(const Options&) {
  std::fprintf(stderr, "camview: this build has no viewer (SDL2 was not found)\n");
  return 1;
}

#else

namespace {

// Keys of the view (KeyControl) by SDL key.
UINT ViewKey(SDL_Keycode key) {
  switch (key) {
    case SDLK_LEFT:
      return 37;
    case SDLK_UP:
      return 38;
    case SDLK_RIGHT:
      return 39;
    case SDLK_DOWN:
      return 40;
    case SDLK_1:
      return 49;
    case SDLK_2:
      return 50;
    case SDLK_3:
      return 51;
    case SDLK_9:
      return 57;
    default:
      return 0;
  }
}

// Runs one scripted step from a host key, printing what it did.
void RunStep(Session& session, const std::string& line) {
  ParseResult parsed = ParseScript(line);
  if (!parsed.error.empty() || parsed.steps.empty()) return;
  StepResult result = session.Run(parsed.steps[0]);
  std::printf("%-20s %s %s\n", line.c_str(), result.ok ? "ok  " : "FAIL", result.summary.c_str());
  std::fflush(stdout);
}

// The last message box, drawn over a copy of the screen for a few seconds.
void DrawMessage(platform::Framebuffer& frame, const platform::MessageBoxCall& call) {
  CDC dc;
  RECT all{0, 0, frame.width, frame.height};
  dc.AttachFramebuffer(&frame, all);
  RECT box{8, frame.height / 2 - 24, frame.width - 8, frame.height / 2 + 24};
  dc.FillSolidRect(&box, RGB(255, 255, 224));
  dc.SetBkMode(1 /* TRANSPARENT */);
  dc.SetTextColor(RGB(0, 0, 0));
  std::wstring text = call.caption.empty() ? call.text : call.caption + L": " + call.text;
  RECT inner{box.left + 4, box.top + 4, box.right - 4, box.bottom - 4};
  dc.DrawText(text.c_str(), int(text.size()), &inner, 0x10 /* DT_WORDBREAK */);
}

}  // namespace

int RunViewer(const Options& options) {
  Session session(options);
  std::string error;
  if (!session.SetUp(error)) {
    std::fprintf(stderr, "camview: %s\n", error.c_str());
    return 1;
  }
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    std::fprintf(stderr, "camview: cannot open a window: %s\n", SDL_GetError());
    return 1;
  }
  platform::Framebuffer& screen = platform::Screen();
  SDL_Window* window = SDL_CreateWindow("camview",
                                        SDL_WINDOWPOS_CENTERED,
                                        SDL_WINDOWPOS_CENTERED,
                                        screen.width * options.scale,
                                        screen.height * options.scale,
                                        0);
  SDL_Renderer* renderer = window ? SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE) : nullptr;
  SDL_Texture* texture = renderer ? SDL_CreateTexture(renderer,
                                                      SDL_PIXELFORMAT_RGB888,
                                                      SDL_TEXTUREACCESS_STREAMING,
                                                      screen.width,
                                                      screen.height)
                                  : nullptr;
  if (!texture) {
    std::fprintf(stderr, "camview: cannot open a window: %s\n", SDL_GetError());
    SDL_Quit();
    return 1;
  }
  std::printf(
      "camview viewer: arrows 1 2 3 9 go to the view; W A S D turn, O offset, C corner, "
      "M measured, N no mode, F freeze, J save JPEG, P screenshot, Q quit; click taps\n");
  std::fflush(stdout);
  Uint32 last = SDL_GetTicks();
  Uint32 message_until = 0;
  size_t messages_seen = session.messages().size();
  int shots = 0;
  bool running = true;
  while (running) {
    SDL_Event event;
    while (SDL_PollEvent(&event)) {
      if (event.type == SDL_QUIT) running = false;
      if (event.type == SDL_MOUSEBUTTONDOWN && event.button.button == SDL_BUTTON_LEFT) {
        RunStep(session,
                "tap " + std::to_string(event.button.x / options.scale) + " " +
                    std::to_string(event.button.y / options.scale));
      }
      if (event.type != SDL_KEYDOWN) continue;
      SDL_Keycode key = event.key.keysym.sym;
      CCaptureWnd& view = session.view();
      char turn[64];
      if (UINT code = ViewKey(key)) {
        view.KeyControl(code);
      } else if (key == SDLK_w || key == SDLK_s || key == SDLK_a || key == SDLK_d) {
        double dv = key == SDLK_w ? -0.05 : key == SDLK_s ? 0.05 : 0.0;
        double dh = key == SDLK_a ? -0.2 : key == SDLK_d ? 0.2 : 0.0;
        std::snprintf(turn, sizeof turn, "turn %.4f %.4f", view.m_dCurV + dv, view.m_dCurH + dh);
        RunStep(session, turn);
      } else if (key == SDLK_o) {
        RunStep(session, "mode offset");
      } else if (key == SDLK_c) {
        RunStep(session, "mode corner");
      } else if (key == SDLK_n) {
        RunStep(session, "mode none");
      } else if (key == SDLK_m) {
        RunStep(session, "measure");
      } else if (key == SDLK_f) {
        RunStep(session, view.GetSnapShot() ? "resume" : "snapshot");
      } else if (key == SDLK_j) {
        RunStep(session, "save");
      } else if (key == SDLK_p) {
        RunStep(session, "screenshot viewer_" + std::to_string(++shots));
      } else if (key == SDLK_q || key == SDLK_ESCAPE) {
        running = false;
      }
    }
    // The platform clock follows real time, so the frame timer runs at its pace.
    Uint32 now = SDL_GetTicks();
    platform::AdvanceTime(now - last);
    last = now;
    session.view().InvalidateRect(nullptr, TRUE);
    platform::PumpMessages();
    platform::Present();

    platform::Framebuffer shown = screen;
    if (session.messages().size() > messages_seen) {
      messages_seen = session.messages().size();
      message_until = now + 3000;
    }
    if (now < message_until && !session.messages().empty())
      DrawMessage(shown, session.messages().back());
    SDL_UpdateTexture(texture, nullptr, shown.pixels.data(), shown.width * 4);
    SDL_RenderClear(renderer);
    SDL_RenderCopy(renderer, texture, nullptr, nullptr);
    SDL_RenderPresent(renderer);
    SDL_Delay(30);
  }
  SDL_DestroyTexture(texture);
  SDL_DestroyRenderer(renderer);
  SDL_DestroyWindow(window);
  SDL_Quit();
  session.TearDown();
  return 0;
}

#endif

}  // namespace host
