// Eyes as a picture.
#ifndef ZVGCTL_DDR_EYE_PICTURE_H
#define ZVGCTL_DDR_EYE_PICTURE_H

#include <string>
#include <vector>

#include "service/ddr/ddr_eye.h"

namespace zvgctl {

enum class PictureFormat { svg, png };

// The file's content: a row of read and write eye for every channel, with the opening's width and
// height drawn in. Throws a Failure when it cannot be made.
std::string eyes_picture(const std::vector<zvg::ChannelEyes>& channels, PictureFormat format);

}  // namespace zvgctl

#endif  // ZVGCTL_DDR_EYE_PICTURE_H
