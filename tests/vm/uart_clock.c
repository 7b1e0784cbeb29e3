/* Tells the kernel the clock of a UART, as its highest rate: uart_clock DEVICE BAUD */
#include <fcntl.h>
#include <linux/serial.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int fd = open(argv[1], O_RDWR | O_NONBLOCK | O_NOCTTY);
  struct serial_struct serial;
  if (fd < 0 || ioctl(fd, TIOCGSERIAL, &serial) != 0) {
    perror(argv[1]);
    return 1;
  }
  serial.baud_base = atoi(argv[2]);
  if (ioctl(fd, TIOCSSERIAL, &serial) != 0) {
    perror(argv[1]);
    return 1;
  }
  return 0;
}
