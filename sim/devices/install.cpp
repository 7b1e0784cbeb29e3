#include "devices/install.h"

#include "devices/axi/axi_monitor.h"
#include "devices/clocks/clock_block.h"
#include "devices/ddr/ddr_phy.h"
#include "devices/display/display_controllers.h"
#include "devices/dp/dp_transmitter.h"
#include "devices/flash/spi_controller.h"
#include "devices/hdmi/hdmi_transmitter.h"
#include "devices/i2c/i2c_chips.h"
#include "devices/i2c/i2c_master.h"
#include "devices/mcu/mcu.h"
#include "devices/pci/pci_config.h"
#include "devices/sensors/pvt_sensors.h"
#include "devices/vga/io_ports.h"
#include "devices/vga/vga.h"

namespace zvgsim {

namespace {

// Each device's own file knows where it stands; a new one is a line here.
using Installer = void (*)(Board&);
constexpr Installer installers[] = {
    install_vga,
    install_io_ports,
    install_pci_config,
    install_hdmi_transmitters,
    install_ddr_phys,
    install_axi_monitors,
    install_i2c_masters,
    install_i2c_chips,
    install_mcu,
    install_dp_transmitters,
    install_display_controllers,
    install_clock_block,
    install_pvt_sensors,
    install_spi_controller,
};

}  // namespace

void install_devices(Board& board) {
  for (const Installer install : installers) install(board);
}

}  // namespace zvgsim
