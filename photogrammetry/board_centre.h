#pragma once
// Measuring a target's image coordinates: the centre of a point-symmetric
// target board (a black frame round black and white quadrants meeting at the
// centre) in a picture, to a fraction of a pixel.
//
// The board's pattern looks the same turned half round its centre, so the
// centre is the point c that makes the picture inside the board best match
// itself mirrored through c: the sum over board pixels p of
// (I(p) - I(2c - p))^2 is least, with I between pixel middles read bilinearly.
// Every edge of the pattern (frame, margin and the quadrants' cross) takes
// part, so the errors of single edges average out; nothing outside the board
// (the background) is looked at.
#include "platform/export.h"

namespace photogrammetry {

struct BoardImage {
  const float* light = nullptr;  // linear light, row by row, top row first
  int width = 0;
  int height = 0;
};

// Finds the centre near (guess_x, guess_y), in continuous pixel coordinates
// (pixel i spans [i, i + 1), y down) of a board about `half` pixels from
// centre to edge. Searches within `reach` pixels of the guess. True with
// (x, y) set; false when the board does not lie inside the picture or the
// pattern has no contrast.
SURVEYCAM_API bool FindBoardCentre(const BoardImage& image,
                                   double guess_x,
                                   double guess_y,
                                   double half,
                                   double reach,
                                   double& x,
                                   double& y);

}  // namespace photogrammetry
