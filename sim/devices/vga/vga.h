// The legacy VGA registers.
#ifndef ZVGSIM_DEVICES_VGA_VGA_H
#define ZVGSIM_DEVICES_VGA_VGA_H

#include <array>
#include <cstdint>

#include "devices/amba/amba_bridge.h"
#include "devices/byte_block.h"
#include "devices/fan/fan.h"
#include "devices/video/video_capture.h"

namespace zvgsim {

// VGA ports by their number, at offset = port. The miscellaneous output register is written at
// 0x3C2 and read at 0x3CC; its bit 0 says where the CRTC pair answers: at 0x3D4/0x3D5 (colour) when
// set, at 0x3B4/0x3B5 (monochrome) when clear. CRTC indices 0xB0 to 0xBA are the AMBA bridge,
// 0xD4 to 0xD9 the board's fan controller; the others are plain storage. Below the ports
// stand the registers of video input and overlay.
class Vga : public ByteBlock {
 public:
  explicit Vga(Board& board);

 protected:
  uint8_t read_byte(uint32_t port) override;
  void write_byte(uint32_t port, uint8_t value) override;

 private:
  bool colour() const;

  Fan& fan_;
  AmbaBridge bridge_;
  VideoCapture capture_;
  uint8_t misc_output_ = 0;
  uint8_t crtc_index_ = 0;
  std::array<uint8_t, 256> crtc_{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_VGA_VGA_H
