// What the public header says about the hardware is what the hardware is.
#include <stddef.h>
#include <sys/ioctl.h>

#include "hw/bus.h"
#include "hw/driver_requests.h"
#include "hw/generations.h"
#include "util_zvg.h"

using namespace zvg::hw;

// The two records that callers see.
static_assert(sizeof(zvg_info) == sizeof(driver::InfoRecord) &&
              offsetof(zvg_info, card) == offsetof(driver::InfoRecord, card) &&
              offsetof(zvg_info, used) == offsetof(driver::InfoRecord, used) &&
              offsetof(zvg_info, reserved) == offsetof(driver::InfoRecord, reserved) &&
              offsetof(zvg_info, free) == offsetof(driver::InfoRecord, free));
static_assert(sizeof(zvg_crtc_lut) == sizeof(driver::LutRecord) &&
              offsetof(zvg_crtc_lut, crtc) == offsetof(driver::LutRecord, crtc) &&
              offsetof(zvg_crtc_lut, size) == offsetof(driver::LutRecord, size) &&
              offsetof(zvg_crtc_lut, red) == offsetof(driver::LutRecord, red) &&
              offsetof(zvg_crtc_lut, green) == offsetof(driver::LutRecord, green) &&
              offsetof(zvg_crtc_lut, blue) == offsetof(driver::LutRecord, blue));

// The kernel's own way to put a request together.
static_assert(driver::request_register ==
              _IOC(_IOC_READ | _IOC_WRITE, driver::request_type, 0x01, 32));
static_assert(driver::request_clear_fan == _IOC(_IOC_NONE, driver::request_type, 0x16, 0));

static_assert(ZVG_DEVICE_RQ301 == chip_of(Generation::rq300).device_id &&
              ZVG_DEVICE_RQ301 == chip_of(Generation::rq301).device_id &&
              ZVG_DEVICE_RQ302 == chip_of(Generation::rq302).device_id);

static_assert(ZVG_OP_READ == int{driver::op_read} && ZVG_OP_WRITE == int{driver::op_write});
static_assert(ZVG_BAR_VRAM == int{bar_vram} && ZVG_BAR_MMIO == int{bar_mmio});
static_assert(ZVG_QUERY_DEVICE_ID == int{driver::query_device_id} &&
              ZVG_QUERY_AXI_CLOCK == int{driver::query_axi_clock} &&
              ZVG_QUERY_VPU_CLOCK == int{driver::query_vpu_clock} &&
              ZVG_QUERY_3D_CLOCK == int{driver::query_3d_clock} &&
              ZVG_QUERY_2D_CLOCK == int{driver::query_2d_clock} &&
              ZVG_QUERY_DDR_CLOCK == int{driver::query_ddr_clock} &&
              ZVG_QUERY_3D_CORES == int{driver::query_3d_cores} &&
              ZVG_QUERY_2D_CORES == int{driver::query_2d_cores} &&
              ZVG_QUERY_CARDS == int{driver::query_cards} &&
              ZVG_QUERY_GOP_VERSION == int{driver::query_gop_version} &&
              ZVG_QUERY_CHANNEL_MASK == int{driver::query_memory_channels} &&
              ZVG_QUERY_ENGINE_LOAD == int{driver::query_engine_load} &&
              ZVG_QUERY_FIRMWARE_VERSION == int{driver::query_firmware_version});
