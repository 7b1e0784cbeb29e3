#include "devices/video/video_settings.h"

#include "board/file_table.h"
#include "devices/i2c/i2c_place.h"

namespace zvgsim {

void read_video(FileTable& root, BoardConfig& config) {
  root.tables("video", [&](FileTable& table) {
    VideoInputSettings input;
    unsigned port = 0;
    const bool named = table.needed("port", &port, 0, video_inputs - 1);
    const bool placed = read_i2c_place(table, config, &input.bus, &input.address, 0x24, 0x25);
    table.number("width", &input.width, 0, 0x7FFF);
    table.number("height", &input.height, 0, 0xFFFF);
    if (!named || !placed) return;
    auto& video = config.of<VideoSettings>();
    if (video.port[port]) {
      table.problem("port " + std::to_string(port) + " is described a second time");
    }
    video.port[port] = input;
  });
}

}  // namespace zvgsim
