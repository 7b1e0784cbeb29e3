// 10-bit chromaticity codes.
#ifndef ZVG_FORMATS_EDID_CHROMATICITY_H
#define ZVG_FORMATS_EDID_CHROMATICITY_H

namespace zvg::formats::edid {

// A point in the CIE diagram.
struct ChromaPoint {
  int x;  // code, 0 to 1023
  int y;
};

// The coordinate, 0 to below 1, that a 10-bit code stands for.
constexpr float chroma_value(int code) {
  return static_cast<float>((code >> 2) & 15) / 256.0f + static_cast<float>(code >> 6) / 16.0f +
         static_cast<float>((code * 4) & 12) / 4096.0f;
}

// The same, rounded to three decimals with halves going up. printf alone would round a half to
// the even digit.
constexpr float rounded_chroma_value(int code) {
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): programs read these digits
  return static_cast<float>(static_cast<int>(chroma_value(code) * 1000.0f + 0.5f)) / 1000.0f;
}

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_CHROMATICITY_H
