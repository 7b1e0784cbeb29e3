// The report on a CEA-861 extension block.
#ifndef ZVG_EDID_CEA_EXTENSION_H
#define ZVG_EDID_CEA_EXTENSION_H

#include "formats/edid/cea_extension.h"

namespace zvg::edid {

// Prints general information, data blocks and detailed timings. revision: of the EDID.
void print_cea_extension(const formats::edid::CeaExtension& extension, int revision);

}  // namespace zvg::edid

#endif  // ZVG_EDID_CEA_EXTENSION_H
