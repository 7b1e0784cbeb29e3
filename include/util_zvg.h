/*
 * util_zvg.h - GPU device library for boards built around the RQ300, RQ301 and RQ302 chips.
 *
 * The library talks to one board at a time through one process-wide connection. Open it with
 * zvgRwOpen (kernel driver), zvgMemOpen (mapped apertures) or zvgSerialOpen (debug UART), call
 * any of the families below, and end with zvgClose.
 *
 * Conventions
 *   - Results are int unless said otherwise: 0 (or a count or value) on success, -22 (-EINVAL)
 *     for an invalid argument, -errno for a failed open, the driver's own result (normally -1
 *     with errno set) for a failed request, -1 for a generic failure, -2 for a timeout.
 *   - Diagnostics are printed, never returned as text: errors on standard error, progress and
 *     results on standard output, unless a function says otherwise.
 *   - Nothing here is thread safe: one caller at a time.
 *   - No function throws or keeps a pointer that it was given.
 *
 * What a caller cannot see from a result
 *   - A board that is gone (off the bus, powered down, a wrong aperture) reads as all ones in
 *     driver and memory mode, with result 0. A dead serial line reads as 0 with result 0: see
 *     zvgMmioOperate().
 *   - Some waits have no bound. On a board that reads all ones, or whose DisplayPort timer cannot
 *     be written, every DisplayPort function that waits NEVER RETURNS: zvgDpInit(), the DPCD, CDB
 *     and I2C transfers, link training, zvg_dptx_mode_set() and what calls them. So does
 *     zvgDdrShowEye() on a connection whose mailbox always reads 0, as a dead serial line does.
 *     zvgSpiErase(), zvgSpiProtect() and zvg_mcu_handle() say it of themselves. Ask the board
 *     first: registers of three different blocks that all read as ones are no board.
 *   - On a dead serial line every read takes 2 seconds and yields 0, so that a poll of N looks
 *     takes up to 2 N seconds beside its own sleeps: the flash's 22 looks 44 s. Nothing ends
 *     early; the texts on standard error are the only sign.
 *   - Functions that write files (zvgDDRReadReg(), zvgMultiVramReadLong(), zvgRunReadReg(), the
 *     AXI monitor's summaries and tables) do not look whether the bytes got there: on a full disk
 *     the file is short and the result the same. Compare its size, or write where there is room.
 */
#ifndef UTIL_ZVG_H
#define UTIL_ZVG_H

#include <stdint.h>

/*
 * The version of this header. A program built with it runs with every later library of the same
 * major number; CHANGELOG.md says what a number promises.
 */
#define ZVG_VERSION_MAJOR 0
#define ZVG_VERSION_MINOR 2
#define ZVG_VERSION_PATCH 0

#ifndef ZVG_API
#if defined(__GNUC__)
#define ZVG_API __attribute__((visibility("default")))
#else
#define ZVG_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------- */
/* Card connection                                                                             */
/* ------------------------------------------------------------------------------------------- */

/* How the open connection reaches its board: the values of get_s_type(). */
enum zvg_access_mode {
  ZVG_MODE_NONE = -1,  /* no connection */
  ZVG_MODE_DRIVER = 0, /* requests on the driver's node "/dev/zvgrw" */
  ZVG_MODE_MEMORY = 1, /* apertures mapped from "/dev/mem" */
  ZVG_MODE_SERIAL = 2, /* 11-byte frames to the board's debug UART */
  ZVG_MODE_I2C = 3     /* a name only: no open call selects it */
};

/* Chip generations: the values of get_device_id(). RQ300 is handled like RQ301. */
enum zvg_device_id { ZVG_DEVICE_RQ301 = 0x201, ZVG_DEVICE_RQ302 = 0x202 };

/* Indices of zvg_gpu_hardware. */
enum zvg_hardware_word {
  ZVG_HW_SYSTEM_CONTROL = 0,
  ZVG_HW_SPI_FLASH = 1,
  ZVG_HW_CLOCK = 2,
  ZVG_HW_DDR_CHANNELS = 5,   /* a count, not an offset */
  ZVG_HW_DDR_CONTROLLER = 6, /* 6 to 9, channels 0 to 3 */
  ZVG_HW_DDR_PHY = 10,       /* 10 to 13, channels 0 to 3 */
  ZVG_HW_WORDS = 14
};

/*
 * Base offsets of the hardware blocks in the MMIO register space. The words describe RQ300 and
 * RQ301 until set_rq302_reg_base() switches them, once and for the life of the process.
 */
extern ZVG_API uint32_t zvg_gpu_hardware[ZVG_HW_WORDS];

/*
 * Opens a board through the kernel driver's node "/dev/zvgrw" and asks the driver for its chip
 * generation; identifier 0x202 switches zvg_gpu_hardware to RQ302.
 *
 * card: board index, 0 or more. An index that the driver does not have falls back to 0.
 * Returns the descriptor; -22 for a negative card; -errno when the node cannot be opened, in
 * which case the previous connection stays as it was. A success replaces that connection.
 * Prints on standard error "Invalid argument card (%d)" or "Opening device %d failed, %s"; on
 * standard output the text for an index that is out of range.
 */
ZVG_API int zvgRwOpen(int card);

/*
 * Opens a board by mapping its apertures from "/dev/mem". doGetDeviceId() tells the library
 * which chip it is.
 *
 * mmio_base, vram_base: physical addresses in bytes. mmio_length, vram_length: bytes; an
 * aperture of length 0 stays unmapped and every access to it fails its range check.
 * Returns the descriptor, or -errno. Only a null address counts as a failed mapping; MAP_FAILED
 * does not end the call, but accesses to such an aperture fail their range check too.
 * Prints on standard error "Opening /dev/mem failed, %s", "mmap mmio failed, %s" or
 * "mmap vram failed, %s".
 */
ZVG_API int zvgMemOpen(uint64_t mmio_base, uint64_t mmio_length, uint64_t vram_base,
                       uint64_t vram_length);

/*
 * Opens a board over the serial line to its debug UART and switches both ends to a baud rate.
 * The board is taken to run at the rate that the process last used, 9600 at first.
 *
 * path: the serial device. baud: 9600, 19200, 38400, 115200 or 460800.
 * Returns the descriptor; -22 for any other baud, when path is no serial line, or when the line
 * cannot be set up at the new rate; -errno when the device cannot be opened. Nothing is written to
 * what is no serial line, and the connection stays as it was; so it does at another baud and when
 * the device cannot be opened.
 * A line that takes nothing for 2 seconds fails the frame that is being sent.
 * Prints on standard error "baudrate %d is not supported", "Opening %s failed, %s",
 * "tcgetattr() failed: %s", "tcsetattr() failed: %s" or "write() failed: %s".
 */
ZVG_API int zvgSerialOpen(const char* path, int baud);

/*
 * Closes the connection. A serial one is first taken back to 9600 baud, board and line.
 * Always returns 0; prints "No file descriptor is opened" on standard error when there is none.
 * The card index, the device id and zvg_gpu_hardware keep their values.
 */
ZVG_API int zvgClose(void);

/* The selected board's index. */
ZVG_API unsigned zvgGetCard(void);

/* Selects a board for the driver requests that follow. The index is not checked. */
ZVG_API void zvgSetCard(unsigned card);

/* The access mode (enum zvg_access_mode); 0xFFFFFFFF without a connection. */
ZVG_API unsigned get_s_type(void);

/* The device id (enum zvg_device_id), 0x201 until an open or doGetDeviceId() says otherwise. */
ZVG_API unsigned get_device_id(void);

/*
 * Names the chip generation where no driver can tell it (memory and serial mode).
 *
 * program: the name that the error text begins with. generation: "RQ302", "rq302", "302",
 * "RQ301", "rq301" or "301".
 * Returns the device id. Any other text prints "%s need correct gpu type, eg: rq301, rq302" on
 * standard output and ENDS THE PROCESS with status 1.
 */
ZVG_API int doGetDeviceId(const char* program, const char* generation);

/* Loads the RQ302 bases into zvg_gpu_hardware and returns it. There is no way back. */
ZVG_API uint32_t* set_rq302_reg_base(void);

/* "ZVGWR", "MEM", "SERIAL" or "I2C" for modes 0 to 3, "invalid type" above. Never null. */
ZVG_API const char* zvgType2Str(unsigned mode);

/* ------------------------------------------------------------------------------------------- */
/* Register and memory access                                                                  */
/* ------------------------------------------------------------------------------------------- */

/* Spaces and directions of zvgMmioOperate(). */
enum zvg_bar { ZVG_BAR_VRAM = 0, ZVG_BAR_MMIO = 2 };
enum zvg_op { ZVG_OP_READ = 0, ZVG_OP_WRITE = 1 };

/*
 * One register or memory access over whichever path the connection uses; every family below
 * that has no request of its own comes through here.
 *
 * bar: enum zvg_bar (ignored in serial mode, where offset is relative to bus address 0x1000000).
 * op: enum zvg_op. width: 1, 2, 4 or 8 bytes. offset: bytes inside the space.
 * value: in, what to write; out, what was read, zero-extended.
 * Returns 0, -22 for a rejected argument or without a connection, or the driver's result. In
 * serial mode it returns 0 whatever happened; the messages of the link tell.
 * Prints on standard error "bar (%d) is out of range", "offset (%ld) is out of range",
 * "op (%d) is out of range" or "s_type (%d) is not supported".
 */
ZVG_API int zvgMmioOperate(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset,
                           uint64_t* value);

/*
 * Reg: chip registers at byte offsets in the MMIO space (BAR 2).
 *
 * offset: 0 to 0xFFFFFF; above, "Invalid argument: offset is out of range" is printed on
 * standard error and -22 returned with nothing stored (serial mode takes any offset).
 * Reads store through value even when the access failed. Return zvgMmioOperate's result.
 */
ZVG_API int zvgRegReadByte(uint64_t offset, uint8_t* value);
ZVG_API int zvgRegReadWord(uint64_t offset, uint16_t* value);
ZVG_API int zvgRegReadLong(uint64_t offset, uint32_t* value);
ZVG_API int zvgRegReadQuad(uint64_t offset, uint64_t* value);
ZVG_API int zvgRegWriteByte(uint64_t offset, uint8_t value);
ZVG_API int zvgRegWriteWord(uint64_t offset, uint16_t value);
ZVG_API int zvgRegWriteLong(uint64_t offset, uint32_t value);
ZVG_API int zvgRegWriteQuad(uint64_t offset, uint64_t value);

/*
 * Replaces the bits of mask in a byte register by those of value. The write is made even when
 * the read failed. Returns the bitwise OR of both results.
 */
ZVG_API int zvgRegMskWriteByte(uint64_t offset, uint8_t mask, uint8_t value);

/*
 * Reads the 32-bit register at (numeric value of base) + offset and returns it; 0 after a
 * rejected offset. A failure prints "read long from 0x%lx error" on standard output.
 */
ZVG_API uint32_t zvgRegReadLongBase(const uint8_t* base, uint64_t offset);

/*
 * Vram: video memory (BAR 0), offset 0 to 0xFFFFFFF; above, -22 without a message (serial mode
 * takes any offset). Otherwise as the Reg family.
 */
ZVG_API int zvgVramReadByte(uint64_t offset, uint8_t* value);
ZVG_API int zvgVramReadWord(uint64_t offset, uint16_t* value);
ZVG_API int zvgVramReadLong(uint64_t offset, uint32_t* value);
ZVG_API int zvgVramReadQuad(uint64_t offset, uint64_t* value);
ZVG_API int zvgVramWriteByte(uint64_t offset, uint8_t value);
ZVG_API int zvgVramWriteWord(uint64_t offset, uint16_t value);
ZVG_API int zvgVramWriteLong(uint64_t offset, uint32_t value);
ZVG_API int zvgVramWriteQuad(uint64_t offset, uint64_t value);

/*
 * Reads count 32-bit words of video memory from byte offset on, into buffer or, when path is
 * not null, into a file (host byte order, buffer unused). A word that cannot be read is tried
 * through the AMBA bridge, three rounds in all; then "Failed to read vram [0x%lx]" is printed on
 * standard error and the next word follows.
 * Returns 0, also when words could not be read or the disk is full (the file then is shorter than
 * 4 x count bytes); -1 when the file cannot be opened ("Failed to open file %s" on standard error).
 */
ZVG_API int zvgMultiVramReadLong(uint32_t* buffer, uint64_t offset, uint32_t count,
                                 const char* path);

/*
 * Fills count 32-bit words of video memory from byte offset on with value or, when path is not
 * null, with the words of a file, with the same three rounds a word.
 * Returns 0; -1 when the file cannot be opened or runs short.
 * Prints on standard error "Failed to open file %s", "Failed to read vram [0x%lx]" (fill),
 * "Failed to write vram [0x%lx]" (file) or
 * "Failed to read from file %s. Writing stream crashed at 0x%lx".
 */
ZVG_API int zvgMultVramWriteLong(uint32_t value, uint64_t offset, uint32_t count, const char* path);

/*
 * Prints count items of width bytes (1, 2, 4 or 8) as a hex dump on standard output, labelled
 * with addresses from start on. Items of 8 bytes show only their low 16 bits. There is no
 * newline after the last item; another width or a count of 0 prints nothing.
 */
ZVG_API void dump_vram(const uint8_t* buffer, unsigned width, uint64_t start, unsigned count);

/*
 * Kmem: kernel virtual memory, driver mode only (in other modes the request fails). Reads store
 * the record's value whatever the result. Return the request's result.
 */
ZVG_API int zvgKmemReadByte(uint64_t address, uint8_t* value);
ZVG_API int zvgKmemReadWord(uint64_t address, uint16_t* value);
ZVG_API int zvgKmemReadLong(uint64_t address, uint32_t* value);
ZVG_API int zvgKmemReadQuad(uint64_t address, uint64_t* value);
ZVG_API int zvgKmemWriteByte(uint64_t address, uint8_t value);
ZVG_API int zvgKmemWriteWord(uint64_t address, uint16_t value);
ZVG_API int zvgKmemWriteLong(uint64_t address, uint32_t value);
ZVG_API int zvgKmemWriteQuad(uint64_t address, uint64_t value);

/*
 * Crtc: legacy VGA CRTC registers by index (0 to 254; 255 and above print
 * "Invalid argument: offset is out of range" on standard error and return -22). The first use in
 * a process puts the VGA registers into colour (0x3Dx) addressing.
 * Return the data access's result.
 */
ZVG_API int zvgCrtcReadByte(uint32_t index, uint8_t* value);
ZVG_API int zvgCrtcWriteByte(uint32_t index, uint8_t value);

/*
 * Amba: the chip's on-chip bus, reached through the bridge in the extended CRTC registers.
 *
 * address: 40-bit bus address; MMIO lies at 0x1000000 + offset, VRAM at 0x8000000000 + offset.
 * Return 0; reads -2 and writes -1 when the bridge does not answer in time.
 */
ZVG_API int zvgAmbaReadByte(uint64_t address, uint8_t* value);
ZVG_API int zvgAmbaReadWord(uint64_t address, uint16_t* value);
ZVG_API int zvgAmbaReadLong(uint64_t address, uint32_t* value);
ZVG_API int zvgAmbaReadQuad(uint64_t address, uint64_t* value);
ZVG_API int zvgAmbaWriteByte(uint64_t address, uint8_t value);
ZVG_API int zvgAmbaWriteWord(uint64_t address, uint16_t value);
ZVG_API int zvgAmbaWriteLong(uint64_t address, uint32_t value);
ZVG_API int zvgAmbaWriteQuad(uint64_t address, uint64_t value);

/* As zvgRegMskWriteByte(), on the on-chip bus. */
ZVG_API int zvgAmbaMskWriteByte(uint64_t address, uint8_t mask, uint8_t value);

/*
 * Ioport: x86 style I/O ports by their 8-bit number, driver mode only; in other modes
 * "ioport is only supported in driver mode" is printed on standard error and -22 returned.
 * The read hands the byte in *value to the driver and replaces it only on success.
 */
ZVG_API int zvgIoportRead(uint8_t port, uint8_t* value);
ZVG_API int zvgIoportWrite(uint8_t port, uint8_t value);

/*
 * Uart: the serial link itself, at a 40-bit bus address.
 *
 * op: 0 read, anything else a write. width: 1, 2, 4 or 8 bytes (any other is handled as 4).
 * Returns 0; 11 for a 64-bit write; -1 when no reply came within 2 seconds; the failed write()'s
 * result, also when the line took nothing of the frame, or of its rest, for 2 seconds. A 64-bit
 * read yields the word at address + 4 alone, zero-extended.
 * Prints on standard error "write() failed: %s", "select() failed: %s",
 * "uart receive data timeout!", "read() failed: %s" or "serial does not respond".
 */
ZVG_API int zvgUartOperate(int op, int width, uint64_t address, uint64_t* value);
ZVG_API int zvgUartReadByte(uint64_t address, uint8_t* value);
ZVG_API int zvgUartReadWord(uint64_t address, uint16_t* value);
ZVG_API int zvgUartReadLong(uint64_t address, uint32_t* value);
ZVG_API int zvgUartReadQuad(uint64_t address, uint64_t* value);
ZVG_API int zvgUartWriteByte(uint64_t address, uint8_t value);
ZVG_API int zvgUartWriteWord(uint64_t address, uint16_t value);
ZVG_API int zvgUartWriteLong(uint64_t address, uint32_t value);
ZVG_API int zvgUartWriteQuad(uint64_t address, uint64_t value);

/* ------------------------------------------------------------------------------------------- */
/* Driver requests (driver mode; elsewhere the request fails at the descriptor)                */
/* ------------------------------------------------------------------------------------------- */

/*
 * Generic operations: the five numbers go to the driver's handler of that name, which gives them
 * their meaning. Return the request's result: 0, or -1 with errno set.
 */
ZVG_API int zvg3DOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                         uint64_t value);
ZVG_API int zvg2DOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                         uint64_t value);
ZVG_API int zvgDacOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                          uint64_t value);
ZVG_API int zvgHDMIOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                           uint64_t value);
ZVG_API int zvgDvoOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                          uint64_t value);
ZVG_API int zvgDDROperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                          uint64_t value);
ZVG_API int zvgSpiOperate(uint32_t arg0, uint32_t arg1, uint32_t arg2, uint32_t arg3,
                          uint64_t value);

/*
 * One I2C transfer by the driver.
 *
 * bus: 0 to 5. device: 7-bit address. reg: register offset. op: 1 write, 0 read.
 * length: bytes at data, at most 512: of more, the first 512 are transferred and the rest of data
 * is left alone, without a sign. Split longer transfers. Returns the driver's I2C status, or the
 * result of a failed request, which also prints "ioctl zvg_ioctl_i2c error" on standard output.
 */
ZVG_API int zvgI2cOperate(uint32_t bus, uint32_t device, uint32_t reg, uint32_t op, uint32_t length,
                          void* data);

/* Keys of zvgQueryOperate() and zvgQueryInt(). */
enum zvg_query_key {
  ZVG_QUERY_DEVICE_ID = 0,
  ZVG_QUERY_AXI_CLOCK = 1,
  ZVG_QUERY_VPU_CLOCK = 2,
  ZVG_QUERY_3D_CLOCK = 3,
  ZVG_QUERY_2D_CLOCK = 4,
  ZVG_QUERY_DDR_CLOCK = 5,
  ZVG_QUERY_3D_CORES = 6,
  ZVG_QUERY_2D_CORES = 7,
  ZVG_QUERY_CARDS = 8,
  ZVG_QUERY_GOP_VERSION = 9, /* text */
  ZVG_QUERY_CHANNEL_MASK = 10,
  ZVG_QUERY_ENGINE_LOAD = 11,     /* in: engine number; out: per cent */
  ZVG_QUERY_FIRMWARE_VERSION = 12 /* text */
};

/*
 * Asks the driver for an item. buffer: 128 bytes; only the first goes to the driver, all 128 come
 * back, also after a failure. Returns the request's result.
 */
ZVG_API int zvgQueryOperate(int key, void* buffer);

/* As zvgQueryOperate() for a number. *value is replaced only on success. */
ZVG_API int zvgQueryInt(unsigned key, uint32_t* value);

/*
 * The kernel core's version, four numbers; a null pointer skips its number. They are stored also
 * after a failed request. Returns the request's result.
 */
ZVG_API int zvgKrtcoreVer(uint32_t* major, uint32_t* minor, uint32_t* patch, uint32_t* build);

/*
 * PCI configuration space by byte offset. The request always names card 0. The read hands *value
 * to the driver and replaces it whatever the result. Return the request's result.
 */
ZVG_API int zvgPciRead(uint32_t offset, uint32_t* value);
ZVG_API int zvgPciWrite(uint32_t offset, uint32_t value);

/* The driver's information record. */
struct zvg_info {
  uint32_t card; /* filled by the library: the selected card */
  uint32_t used; /* video memory in use */
  uint32_t reserved;
  uint32_t free; /* video memory that is free */
};

/* Fills the record at info (16 bytes, struct zvg_info). Returns the request's result. */
ZVG_API int zvgInfoRead(void* info);

/*
 * Makes the driver print its free VRAM nodes. Returns the request's result; a failure prints
 * "card %d: dump vram node failed" on standard output.
 */
ZVG_API int zvgDumpVramFree(void);

/* ------------------------------------------------------------------------------------------- */
/* Register scripts, register blocks and DDR registers                                         */
/* ------------------------------------------------------------------------------------------- */

/*
 * Runs a register script against the open connection. A line is a comment ('#' or '/'), a delay
 * ("ssleep N", "msleep N", "usleep N": seconds, milliseconds, microseconds), an echo ("echo TEXT",
 * printed as it stands), or a register line "ADDRESS VALUE OPERATION MASK WIDTH": hexadecimal but
 * for the width, 8, 16 or 32 bits. Fields that a line leaves out keep the values of the one before;
 * they start at zero. A delay without a number right behind its word, or with one of 0 or less,
 * waits for nothing.
 *
 *   W  write VALUE
 *   C  check once that the register is VALUE in the bits of MASK
 *   R  read until it is, at most 9,999 times a millisecond apart; N until it is not
 *   S  set the bits of MASK to those of VALUE
 *
 * Lines are read in pieces of 1,023 characters, each of which counts as a line.
 * Returns 0, also when a failed access stopped the script; -errno when the file does not open.
 * Prints on standard output mismatches and the progress of polls; on standard error what failed,
 * each with its line number. A mismatch and a poll that times out do not stop the script.
 */
ZVG_API int zvgRunScript(const char* path);

/*
 * A handler of a register block. address: as the block counts. value: what is expected or written.
 * mask: the bits that a check compares. width: bits. channel: which of several blocks.
 * Checks and writes return 0 or -1, reads the value or 0xFFFFFFFF; all print what they did.
 */
typedef int zvg_check_handler(uint64_t address, uint32_t value, uint32_t mask, int width,
                              unsigned channel);
typedef uint32_t zvg_read_handler(uint64_t address, uint32_t value, uint32_t mask, int width,
                                  unsigned channel);

/* A row of the table of blocks; 24 bytes. */
struct zvg_reg_dev {
  uint64_t key;             /* operation letter ('R' or 'W'), block letter in the next byte */
  zvg_check_handler* check; /* called for a line of a check file */
  zvg_read_handler* read;   /* called for a line of a read file; null in the rows that write */
};

#define ZVG_REG_DEV_ROWS 10

/* Blocks by letter: H HDMI controller, V VGA CRTC, M MMIO, P HDMI PHY, D DisplayPort. */
extern ZVG_API const struct zvg_reg_dev reg_dev[ZVG_REG_DEV_ROWS];

/*
 * Runs a check file: lines "ADDRESS NAME MASK WIDTH VALUE", where NAME is operation letter, block
 * letter and channel digit ("RH0"). Comments, blank lines and delays are those of a script; '#'
 * lines are headers and printed. Unknown names are passed over.
 * Returns 0, or -errno when the file does not open. Results go to standard output.
 */
ZVG_API int zvgRunCheckReg(const char* path);

/*
 * Runs a read file: lines "ADDRESS NAME FIELD WIDTH". Each line is appended with the value read to
 * "out_file.txt" in the current folder; a failed read counts as 0xffffffff.
 * Returns 0; -errno when a file does not open; -1 at once when a line names a writing row: the file
 * then has what was read before it, and both files stay open.
 */
ZVG_API int zvgRunReadReg(const char* path);

/* Removes every carriage return from a line, in place. Returns the length that it had. */
ZVG_API int removeLine(char* line);

/* Handlers of reg_dev. HDMI and MMIO take 8, 16 and 32 bits. */
ZVG_API int zvgHdmiCheckReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                            unsigned channel);
ZVG_API uint32_t zvgHdmiReadReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                                unsigned channel);
ZVG_API int zvgHdmiWriteReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                            unsigned channel);
ZVG_API int zvgMmioCheckReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                            unsigned channel);
ZVG_API uint32_t zvgMmioReadReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                                unsigned channel);
ZVG_API int zvgMmioWriteReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                            unsigned channel);
/* HDMI PHY registers: 16 bits. */
ZVG_API int zvgHdmiPhyCheckReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                               unsigned channel);
ZVG_API uint32_t zvgHdmiPhyReadReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                                   unsigned channel);
ZVG_API int zvgHdmiPhyWriteReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                               unsigned channel);
/* CRTC indices 0 to 254, any other address fails: 8 bits; reads and writes know channel 0 alone. */
ZVG_API int zvgVgaCheckReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                           unsigned channel);
ZVG_API uint32_t zvgVgaReadReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                               unsigned channel);
ZVG_API int zvgVgaWriteReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                           unsigned channel);
/* DisplayPort controller registers: 32 bits, addresses counted from 0x10000. */
ZVG_API int zvgDpCheckReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                          unsigned channel);
ZVG_API uint32_t zvgDpReadReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                              unsigned channel);
ZVG_API int zvgDpWriteReg(uint64_t address, uint32_t value, uint32_t mask, int width,
                          unsigned channel);

/*
 * DDR registers on several channels at once. channel_mask: bit i is channel i; bits from the
 * board's channel count on are not looked at. address: the register in any channel's controller or
 * PHY block; the same register of every selected channel is accessed, lowest channel first. An
 * address in no DDR block is accessed once, whatever the mask.
 * Returns 0, or the result of the first access that failed (named on standard error). A read
 * leaves the value of the highest selected channel.
 */
ZVG_API int zvgDdrRegReadLong(unsigned channel_mask, uint64_t address, uint32_t* value);
ZVG_API int zvgDdrRegWriteLong(unsigned channel_mask, uint64_t address, uint32_t value);

/* The same by offset in the controller (32 KiB) or PHY (256 KiB) block. */
ZVG_API int zvg_ddr_ctr_read(unsigned channel_mask, uint32_t offset, uint32_t* value);
ZVG_API int zvg_ddr_phy_read(unsigned channel_mask, uint32_t offset, uint32_t* value);
ZVG_API int zvg_ddr_ctr_write(unsigned channel_mask, uint32_t offset, uint32_t value);
ZVG_API int zvg_ddr_phy_write(unsigned channel_mask, uint32_t offset, uint32_t value);

/*
 * Appends all the registers of the selected channels to "DDR_Dump_Reg.txt" in the current folder:
 * nine PHY blocks and the controller, about 600,000 lines a channel. Nothing else may use the
 * PHYs meanwhile.
 * Returns 0, also when the disk is full and the file therefore short; -1 when the file does not
 * open (the reason is on standard error); otherwise the result of the last read of the last
 * selected channel.
 */
ZVG_API int zvgDDRReadReg(unsigned channel_mask);

/*
 * Runs a script as zvgRunScript does, with every access going to the selected DDR channels in 32
 * bits. Only W and R exist, and a poll that does not match within 100 reads ends the script with
 * "trainning failed" on standard output. Prints its own name first.
 */
ZVG_API int zvgDdrRunScript(const char* path, unsigned channel_mask);

/* ------------------------------------------------------------------------------------------- */
/* HDMI transmitters                                                                           */
/* ------------------------------------------------------------------------------------------- */

/*
 * Common to the family. hdmi: transmitter 0 to 3; others return -22 where a function checks.
 * Returns 0; -19 when the controller reports an error; -2 on a timeout; -1 when a status read
 * fails; otherwise the bitwise OR of the register functions' results. Messages go to standard
 * output: "hdmi %d:i2c config failed", "hdmi %d:i2c read status faield" and those named below.
 */

/* Words of the mode timing record that the mode readbacks fill. */
enum zvg_mode_word {
  ZVG_MODE_PIXEL_CLOCK = 0,
  ZVG_MODE_H_ACTIVE = 1,
  ZVG_MODE_H_SYNC_START = 2,
  ZVG_MODE_H_SYNC_END = 3,
  ZVG_MODE_H_TOTAL = 4,
  ZVG_MODE_V_ACTIVE = 5,
  ZVG_MODE_V_SYNC_START = 6,
  ZVG_MODE_V_SYNC_END = 7,
  ZVG_MODE_V_TOTAL = 8,
  ZVG_MODE_WORDS = 9,
  ZVG_MODE_SYNC_FLAGS = 9 /* tenth word, only where a function says so: enum zvg_sync_flag */
};

/* Reads or writes the 16-bit PHY register reg (0 to 255) over the PHY's I2C master. */
ZVG_API int zvgHdmiPhyRead(uint32_t hdmi, int reg, uint16_t* value);
ZVG_API int zvgHdmiPhyWrite(uint32_t hdmi, int reg, int value);

/* Pulses the PHY reset for 1 ms. */
ZVG_API int zvgHdmiPhyReset(uint32_t hdmi);

/* Prepares the PHY for configuration: masks its interrupt, powers it down, resets it. */
ZVG_API int zvgHdmiPhyStart(uint32_t hdmi);

/*
 * Powers the PHY up and waits for its PLL to lock, about a second at the most. Without a lock
 * "PHY PLL not locked: PCLK_ON=%d,TMDSCLK_ON=%d" is printed and -1 returned.
 */
ZVG_API int zvgHdmiPhyEnd(uint32_t hdmi);

/* Stores 1 when a monitor is plugged in and at least one receiver is sensed, else 0. */
ZVG_API int zvgHdmiHpdSense(uint32_t hdmi, uint8_t* hpd);

/* Programs the DDC bus for standard mode. Comes before DDC transfers. */
ZVG_API int zvgHdmiDDCInit(uint32_t hdmi);

/*
 * One byte over DDC. slave: 7-bit address. offset: 0 to 255.
 * The write does not check hdmi, polls the PHY's status (not the DDC's) and returns the OR of its
 * register writes.
 */
ZVG_API int zvgHdmiDDCRead(uint32_t hdmi, int slave, int offset, uint8_t* byte);
ZVG_API int zvgHdmiDDCWrite(uint32_t hdmi, int slave, uint32_t offset, int value);

/*
 * Fetches the monitor's EDID, all blocks, prints it as a hex dump and keeps the first 256 bytes
 * in the EDID store, where do_edid_parse(NULL) decodes them.
 * Returns 0, or -1 with "hdmi %d: read edid failed" or "out of memory" printed.
 * The fetched bytes stay allocated.
 */
ZVG_API int zvgHdmiEDIDRead(uint32_t hdmi);

/*
 * Reads the timing that the frame composer is programmed with. mode: ZVG_MODE_WORDS words.
 * Does not check hdmi. Returns the pixel-clock word.
 */
ZVG_API uint32_t zvgHdmiModeRead(uint32_t hdmi, uint32_t* mode);

/* ------------------------------------------------------------------------------------------- */
/* I2C masters and the display data channel                                                    */
/* ------------------------------------------------------------------------------------------- */

/*
 * Register access on a 7-bit I2C device of one of the board's buses.
 *
 * channel: 0 to 5 in driver mode, where the driver carries out the transfer (zvgI2cOperate); 0 to 3
 * in the other modes, where the library drives the I2C master's registers. slave: 7-bit address.
 * reg: the register's number, of which the low 8 bits are sent. count: bytes; with 0 only the
 * register is addressed and the bus is not released.
 * Returns a code of zvgI2cErrString() (as an int): 0; -1 for a channel that is not there; -2 when
 * no device acknowledges the address, or a byte does not end within 3.3 s. In driver mode 4 for a
 * channel that is not there, else what zvgI2cOperate() returns, with its limit of 512 bytes. Other
 * bytes' acknowledges are not looked at. Prints nothing, but for zvgI2cOperate() when the driver
 * refuses the request.
 *
 * When the library drives the master itself, 0 proves nothing about the wire: results of register
 * accesses are not looked at, the address is acknowledged as far as a status bit says so, a byte
 * read over a failed access counts as 0, and data that a device refused is not noticed. Read back
 * what matters, twice.
 */
ZVG_API uint32_t zvgI2cRead(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t count,
                            uint8_t* buf);
ZVG_API uint32_t zvgI2cWrite(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t count,
                             uint8_t* data);
/* Writes one byte: the low byte of value. */
ZVG_API uint32_t zvgI2cWriteByte(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t value);

/* The text of an I2C code, 0 to -4; "Unkown error" for any other. */
ZVG_API const char* zvgI2cErrString(int code);

/*
 * Has the driver read the EDID on a display data channel.
 *
 * channel: 0 to 15. result: receives the driver's code for the transfer. data_ptr: receives the
 * address of the library's 512 bytes of data, which the next call overwrites. count: receives the
 * number of bytes read. Each may be NULL. They are filled when the request fails, too.
 * Returns the request's result; -22 for a channel above 15; -1 outside driver mode, with "ddc
 * command is not support with current type: %d" and the access mode on standard output.
 */
ZVG_API int zvgDDCRead(uint32_t channel, uint32_t* result, uint64_t* data_ptr, uint32_t* count);

/* ------------------------------------------------------------------------------------------- */
/* Power monitors                                                                              */
/* ------------------------------------------------------------------------------------------- */

/*
 * Common to the family. bus: I2C channel, as for zvgI2cRead(). index: which of the chips on the
 * bus, 0 to 3 (LTC2990, address 0x4C + index) or 0 to 7 (LTC2991, address 0x48 + index). The
 * outputs are in volts and amperes unless said otherwise; each may be NULL. Resistors in
 * milliohms; with one below 1 the current is 0. wait: not 0 to measure once and wait for the end
 * of the conversion; 0 to let the chip measure on and wait only for results.
 * Returns 0, also when the chip did not mark results as fresh (each of those is named on standard
 * output as "LTC299x V%d=%x is not valid", followed by "invalid raw voltage is exist") and when the
 * results could not be read in the end (an I2C message and the same line; they count as code 0);
 * else, with no output stored, the I2C master's code for any other transfer that failed, the writes
 * that set the mode and start the conversion included, -1 when the chip stays busy for 10 s, or -2
 * when results do not get ready in 10 s. Messages about the LTC2990's transfers and waits go to
 * standard error, all others to standard output.
 * Codes and scale factors are those of the chips' data sheets (Analog Devices LTC2990, LTC2991;
 * Texas Instruments INA3221).
 */

/* Four single-ended inputs: code x 305.18 uV; the supply: the same and 2.5 V. */
ZVG_API int zvgLTC2990GetVolt4(uint32_t bus, uint32_t index, float* v1, float* v2, float* v3,
                               float* v4, float* supply, uint32_t wait);

/* Two sense resistors, between inputs 1 and 2 and inputs 3 and 4: code x 19.42 uV / R. */
ZVG_API int zvgLTC2990GetCurrent2(uint32_t bus, uint32_t index, int r1, int r2, float* i1,
                                  float* i2, float* supply, uint32_t wait);

/* Eight single-ended inputs: 14-bit code x 305.18 uV; the supply: the same and 2.5 V. */
ZVG_API int zvgLTC2991GetVolt8(uint32_t bus, uint32_t index, float* v1, float* v2, float* v3,
                               float* v4, float* v5, float* v6, float* v7, float* v8, float* supply,
                               uint32_t wait);

/*
 * Four sense resistors, one a pair of inputs: code x 19.075 uV / R. A negative current comes out
 * positive, with the sign bit counted into its magnitude.
 */
ZVG_API int zvgLTC2991GetCurrent4(uint32_t bus, uint32_t index, uint32_t r1, uint32_t r2,
                                  uint32_t r3, uint32_t r4, float* i1, float* i2, float* i3,
                                  float* i4, float* supply, uint32_t wait);

/*
 * The shunt voltages in millivolts (40 uV a step), or the currents through the shunts, of channels
 * 1 and 2 of the INA3221 at address 0x40. Returns 0, or the code of the failed configuration
 * write; a channel that cannot be read is reported and stored as 0.
 */
ZVG_API int zvgINA3221GetVolt2(uint32_t bus, float* v1, float* v2);
ZVG_API int zvgINA3221GetCurrent2(uint32_t bus, int r1, uint32_t r2, float* i1, float* i2);

/* ------------------------------------------------------------------------------------------- */
/* Zoom video: live input in an overlay window                                                 */
/* ------------------------------------------------------------------------------------------- */

/*
 * Sets up a capture port (0 or 1) and its video decoder on an I2C channel (0 to 3), at address 0x24
 * or, with alternate_address, 0x25; shown in overlay window A, or B with use_window_b.
 * Returns 0; -22 with "Zoom video error: invalid argument" on standard output. Whether the decoder
 * answered is not looked at.
 */
ZVG_API int zvgZoomVideoInit(uint32_t port, uint32_t i2c_channel, int alternate_address,
                             int use_window_b);

/*
 * Starts capturing and, 100 ms later, shows the window at x, y (pixels). offset: into the frame
 * buffers, in units of 2 bytes. format_a, format_b: 0 to 3, others count as 0. flag: the window's
 * bit 13. A port that was not set up only captures. Returns 0. The port is not checked, here and
 * below.
 */
ZVG_API int zvgZoomVideoStart(int port, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                              uint32_t offset, int format_a, int format_b, uint32_t flag);

/* Stops or restarts capturing and the windows that the port is shown in. Returns 0. */
ZVG_API int zvgZoomVideoStop(int port);
ZVG_API int zvgZoomVideoRestart(int port);

/*
 * Reads the parameters back: those of window A when the port is shown there, else of window B.
 * Each output may be NULL. Returns 0.
 */
ZVG_API int zvgZoomVideoGetParm(int port, uint32_t* x, uint32_t* y, uint32_t* width,
                                uint32_t* height, uint32_t* offset, uint32_t* format_a,
                                uint32_t* format_b, uint32_t* flag, uint32_t* source_width,
                                uint32_t* source_height);

/* ------------------------------------------------------------------------------------------- */
/* The chip's microcontroller                                                                  */
/* ------------------------------------------------------------------------------------------- */

/* An I2C read that the controller makes for the host; 16 bytes. */
struct zvg_mcu_request {
  uint8_t second_selector; /* 0 to 15 */
  uint8_t first_selector;  /* 0 to 15 */
  uint8_t offset;          /* the device's register to start from */
  uint8_t reserved_0;
  uint16_t length; /* bytes to copy */
  uint16_t reserved_1;
  uint8_t* buffer;
};

/*
 * Restarts the controller unless it runs, which takes a second, and loads a request's parameters:
 * a and c (bytes), b (the 7-bit slave address) and the two selectors (0 to 15).
 * Returns the last register write's result.
 */
ZVG_API int ResetMcu(int a, uint32_t b, int c, uint32_t low_select, uint32_t high_select);

/* Copies count bytes of the controller's result. Returns count, 0 when it is below 1. */
ZVG_API int zvg_dp_mcu_fifo_read(uint8_t* buffer, int count);

/*
 * Has the controller read from the device at address 0x50 and copies the result. Waits without a
 * limit for the end. Returns the number of bytes, or -32 when the transfer failed.
 */
ZVG_API int zvg_mcu_handle(struct zvg_mcu_request* request);

/*
 * Fetches a monitor's EDID through the controller: the base block and, when there are extensions,
 * the first of them. out: has room for 128 bytes for the base block and each extension that it
 * announces, 32768 at the most; what was not fetched is filled with zeros. length: receives that
 * size. Returns out. On standard output "read edid failed-" or "read edid failed--" for a block
 * that could not be fetched, and "new is error" without memory. The working buffer stays allocated.
 */
ZVG_API void* mcu_i2c_get_edid(int first_selector, int second_selector, void* out,
                               uint32_t* length);

/* ------------------------------------------------------------------------------------------- */
/* DisplayPort: device records, registers and the AUX channel                                  */
/* ------------------------------------------------------------------------------------------- */

/*
 * One transmitter. Its registers are 32 bits wide: PHY register r at base + block_offset + r,
 * controller register r at base + block_offset + 0x10000 + r, all in the MMIO space.
 *
 * A record whose base and block offset are both null is invalid: a register read through it
 * prints "%s(%d): invalid dp_dev" on standard error and gives -22 as its value, a register write
 * prints the same and returns the length of what was printed. A read that fails prints as
 * zvgRegReadLongBase() does.
 */
typedef struct zvg_dptx {
  uint8_t* base;         /* null in the library's own records */
  uint32_t block_offset; /* 0x500000 + port * 0x20000 */
  int port;              /* 0 to 3, named in messages */
  uint32_t link_clock;   /* link clock index 0 to 5, 2 at first: zvg_speed_to_link_clk() */
  uint32_t lanes;        /* lane count, 2 at first */
} zvg_dptx;

/*
 * Sets up a port's record and its transmitter. Any port is taken, also one that the chip does not
 * have. Returns 0.
 */
ZVG_API int zvgDpInit(int port);

/*
 * Fills the record and brings the transmitter from reset to an enabled link at 2.7 Gbit/s on two
 * lanes, without a stream. Failures of the PHY are printed and do not end the sequence. Returns 0.
 */
ZVG_API int zvg_dptx_init(zvg_dptx* device, uint8_t* base, uint32_t block_offset, int port);

/*
 * Controller registers, at base + block_offset + 0x10000 + reg. The sum is not cut to 32 bits: one
 * beyond the chip's registers is refused as zvgRegReadLong() refuses it. A read that fails prints
 * "read long from 0x%lx error" on standard output and gives 0; the write returns the result of
 * zvgRegWriteLong().
 * A record without base and block_offset prints "%s(%d): invalid dp_dev" on standard error; the
 * read then gives -22, the write the length of that text.
 */
ZVG_API uint32_t zvg_dptx_reg_read(const zvg_dptx* device, uint32_t reg);
ZVG_API int zvg_dptx_reg_write(const zvg_dptx* device, uint32_t reg, uint32_t value);

/* PHY registers, at base + block_offset + reg; otherwise as the controller's. */
ZVG_API uint32_t zvg_dptx_phy_reg_read(const zvg_dptx* device, uint32_t reg);
ZVG_API int zvg_dptx_phy_reg_write(const zvg_dptx* device, uint32_t reg, uint32_t value);

/*
 * The controller's count-down timer: 21 bits of ticks. The wait clears the timer, starts it and
 * reads it until it is 0. IT HAS NO BOUND: a timer that does not count holds the caller for ever.
 */
ZVG_API void zvg_dptx_tmr_init(const zvg_dptx* device);
ZVG_API void zvg_dptx_tmr_set_value(const zvg_dptx* device, uint32_t ticks);
ZVG_API void zvg_dptx_tmr_enable(const zvg_dptx* device, int on);
ZVG_API uint32_t zvg_dptx_tmr_get_value(const zvg_dptx* device);
ZVG_API void zvg_dptx_tmr_wait(const zvg_dptx* device, uint32_t ticks);

/*
 * The PHY's internal configuration bus. Each access waits for the bus first: at most 100 looks, 5
 * ticks after each that found it busy.
 *
 * Returns 0; 4 when the bus stays busy, which is printed on standard error except after a read
 * that was sent; for a read otherwise the bus's status word, with 0 stored. The write does not
 * wait for its completion.
 */
ZVG_API int zvg_cdb_write(const zvg_dptx* device, uint16_t addr, uint16_t data);
ZVG_API int zvg_cdb_read(const zvg_dptx* device, uint16_t addr, uint16_t* data);

/* The AUX engine is free; a sink is present (any bit, bit 0 of the hot-plug state): 1 or 0. */
ZVG_API int zvg_dptx_aux_ready(const zvg_dptx* device);
ZVG_API int zvg_dptx_aux_hpd_status(const zvg_dptx* device);
ZVG_API int zvg_dptx_hpd_sense(const zvg_dptx* device);

/*
 * Sends a request: the address, then command | (length - 1), with bit 12 for flag_a and bit 13
 * for flag_b. command: the request in bits 11 to 8 (native read 0x900, native write 0x800, I2C
 * read 0x100, I2C write 0x000, I2C with the transaction left open plus 0x400).
 */
ZVG_API void zvg_dptx_aux_send_request(const zvg_dptx* device, uint32_t command, uint32_t address,
                                       uint32_t length, int flag_a, int flag_b);

/* What the engine says about the reply: 1 or 0. */
ZVG_API int zvg_dptx_aux_reply_timeout(const zvg_dptx* device);
ZVG_API int zvg_dptx_aux_reply_error(const zvg_dptx* device);
ZVG_API int zvg_dptx_aux_reply_received(const zvg_dptx* device);

/* 0 acknowledged, 1 not acknowledged, 2 deferred, 8 deferred by the I2C bus. */
ZVG_API uint32_t zvg_dptx_aux_reply_code(const zvg_dptx* device);

/*
 * Looks for the reply, 500 times for each unit of the clock divider. Returns 0 received, 1 reply
 * timeout, 2 reply error, 3 nothing came.
 */
ZVG_API uint32_t zvg_dptx_aux_wait_reply(const zvg_dptx* device);

/* n bytes from the reply FIFO, or into the request FIFO. */
ZVG_API void zvg_dptx_aux_read_fifo(const zvg_dptx* device, uint8_t* buf, uint32_t n);
ZVG_API void zvg_dptx_aux_write_fifo(const zvg_dptx* device, const uint8_t* buf, uint32_t n);

/*
 * Native transfer of 1 to 16 DPCD bytes, attempted up to 100 times while the sink defers. A read
 * waits 10 ticks between attempts, a write does not. A read that fails leaves zeros.
 *
 * Returns a status word: 0 when the engine was not ready, else 0x10000 | wait result << 8 | reply
 * code, which is 0x10000 exactly when the transfer succeeded.
 */
ZVG_API uint32_t zvg_dptx_aux_dpcd_read_blk(const zvg_dptx* device, uint32_t address, uint8_t* buf,
                                            uint32_t length);
ZVG_API uint32_t zvg_dptx_aux_dpcd_write_blk(const zvg_dptx* device, uint32_t address,
                                             const uint8_t* buf, uint32_t length);

/*
 * Native transfers of a byte, or of length bytes in blocks of 16 (a length below 1 is none).
 * Returns 0, or -1 with "dp %d: aux read byte error", "dp %d: aux read buffer error" or
 * "dp %d: aux write byte error(0x%x)" on standard error.
 */
ZVG_API int zvg_dptx_aux_read(const zvg_dptx* device, uint32_t address, uint8_t* byte);
ZVG_API int zvg_dptx_aux_read_blk(const zvg_dptx* device, uint32_t address, uint8_t* buf,
                                  int length);
ZVG_API int zvg_dptx_aux_write(const zvg_dptx* device, uint32_t address, uint32_t value);

/*
 * I2C over AUX: reads length bytes from an offset of a 7-bit slave. The whole transaction may be
 * deferred 100 times, with 10 ticks after each. Returns 0, or -1 with "dp %d: aux i2c read buffer
 * error" on standard error, preceded by "dp %d: aux i2c read reply error 0x%x" when a chunk that
 * is not the last failed.
 */
ZVG_API int zvg_dptx_i2c_read_req(const zvg_dptx* device, uint8_t slave, uint8_t offset,
                                  uint8_t* buf, int length);

/*
 * I2C over AUX: writes one byte to a slave. The byte is pushed twice. Returns 0, or -1 with
 * "dp %d: aux i2c write data error" on standard error.
 */
ZVG_API int zvg_dptx_i2c_raw_write_req(const zvg_dptx* device, uint8_t slave, uint8_t value);

/*
 * Register-driven transfers by port, 0 to 3. The first of them sets its port up (zvgDpInit());
 * after that every port is used as it stands: call zvgDpInit() for each that you use.
 *
 * zvgDpPhyRead() and zvgDpPhyWrite() reach CONTROLLER registers, and return 0, or -22 for another
 * port. The others print "channel %d is out of range" on standard output for another port and
 * return -1; otherwise what the function of the transfer returns.
 */
ZVG_API int zvgDpPhyRead(uint32_t port, uint32_t reg, uint32_t* value);
ZVG_API int zvgDpPhyWrite(uint32_t port, uint32_t reg, uint32_t value);
ZVG_API int zvgDpCdbRead(uint32_t port, int addr, uint16_t* data);
ZVG_API int zvgDpCdbWrite(uint32_t port, int addr, int data);
ZVG_API int zvgDpI2cRead(uint32_t port, int slave, int offset, uint8_t* byte);
ZVG_API int zvgDpI2cReadBuf(uint32_t port, uint32_t slave, uint32_t offset, uint8_t* buf,
                            uint32_t length);

/*
 * AUX transfers that the kernel driver makes (driver mode). The port is not checked here.
 *
 * length: up to 16; more prints "size %d is out of range" on standard output and returns -1.
 * zvgDpAuxEdidGet() stores up to 512 bytes and their count.
 * Returns the request's result; the outputs are only stored when it is 0.
 */
ZVG_API int zvgDpAuxRead(uint32_t port, uint32_t address, uint8_t* byte);
ZVG_API int zvgDpAuxReadBuf(uint32_t port, uint32_t address, uint8_t* buf, uint32_t length);
ZVG_API int zvgDpAuxWrite(uint32_t port, uint32_t address, int value);
ZVG_API int zvgDpAuxEdidGet(uint32_t port, uint8_t* buf, uint32_t* length);

/* ------------------------------------------------------------------------------------------- */
/* DisplayPort: PHY, link training and mode set                                                */
/* ------------------------------------------------------------------------------------------- */

/*
 * Link rates: codes as in the DPCD (0x06 1.62, 0x09 2.43, 0x0A 2.7, 0x0C 3.24, 0x14 5.4, 0x1E
 * 8.1 Gbit/s) and link clock indices 0 to 5 in that order. Index 5 and above give code 0x06. Codes
 * 0x08 and 0x10 count as 0x06 and 0x0C; any other prints "unsupported linkrate speed: %x" on
 * standard error and gives 0.
 */
ZVG_API uint32_t zvg_link_clk_to_speed(uint32_t index);
ZVG_API uint32_t zvg_speed_to_link_clk(uint32_t code);

/*
 * Sets the PHY up for a link clock index. Steps that fail are printed on standard output; an index
 * above 5 is printed on standard error and leaves the PLL's parameters as they are.
 * Returns the result of the last power state.
 */
ZVG_API int zvg_dptx_phy_init(const zvg_dptx* device, uint32_t link_clock);

/* Requests power state 0 to 3. Returns 0; 9 for another state; 10 without an acknowledge. */
ZVG_API int zvg_dptx_phy_power(const zvg_dptx* device, uint32_t state);

/* Stops the PHY: which 0 its run bit, 1 its PLL; then its lanes. Returns 0, or 5 for another. */
ZVG_API int zvg_dptx_phy_reset(const zvg_dptx* device, int which);

/* The clock divider of the AUX channel and the timer. */
ZVG_API void zvg_dptx_set_clk_divider(const zvg_dptx* device, uint32_t divider);
ZVG_API uint32_t zvg_dptx_get_clk_divider(const zvg_dptx* device);

/*
 * Changes the link rate (a code) of the PHY, or of controller and PHY. A code that is none of the
 * six takes the PHY down and up without changing it. Both return 0.
 */
ZVG_API int zvg_dptx_phy_update_link_rate(const zvg_dptx* device, uint32_t code);
ZVG_API int zvg_dptx_set_link_rate(const zvg_dptx* device, uint32_t code);

/*
 * Changes the lane count (1, 2 or 4) of the PHY, or of controller and PHY. Another count prints
 * "dptx_phy_set_lane_count: lane count error %d, force to lane count 1" on standard output.
 * The first returns 0. The second returns the count when the controller already has it, and then
 * writes nothing; else the result of the last power state.
 */
ZVG_API int zvg_dptx_phy_set_lane_count(const zvg_dptx* device, uint32_t lanes);
ZVG_API int zvg_dptx_set_lane_count(const zvg_dptx* device, uint32_t lanes);

/* Drive levels of lanes 0 to 3; the low two bits of each count. The PHY gets them inverted. */
ZVG_API void zvg_dptx_set_voltage_swing(const zvg_dptx* device, uint32_t lane0, uint32_t lane1,
                                        uint32_t lane2, uint32_t lane3);
ZVG_API void zvg_dptx_set_preemphasis(const zvg_dptx* device, uint32_t lane0, uint32_t lane1,
                                      uint32_t lane2, uint32_t lane3);

/* Writes a raw value to all four lanes of a kind. Returns 0. */
ZVG_API int zvg_dptx_phy_set_vswing_all(const zvg_dptx* device, uint32_t value);
ZVG_API int zvg_dptx_phy_set_preemphasis_all(const zvg_dptx* device, uint32_t value);

/*
 * Trains the link with the sink's requests, in at most five passes.
 *
 * rate_code, lanes: what to train for. equalisation_ticks: the wait before equalisation is looked
 * at. self_refresh: also enables the sink's panel self-refresh.
 * Returns 0 WHATEVER THE OUTCOME; read DPCD 0x202 to 0x204 to learn it.
 */
ZVG_API int zvg_dptx_train_link(const zvg_dptx* device, uint32_t rate_code, uint32_t lanes,
                                uint32_t equalisation_ticks, int self_refresh);

/* Trains with fixed timing at the lowest levels, without looking at the sink. Returns 0. */
ZVG_API int zvg_dptx_train_link_no_aux(const zvg_dptx* device, uint32_t rate_code, uint32_t lanes,
                                       uint32_t unused_ticks, int unused_flag);

/*
 * Reads the sink's capabilities, prints them ("DPCD 0: ..."), and trains with what they say: with
 * fixed timing on port 3, the panel's, otherwise with zvg_dptx_train_link(). Sets the port up first
 * when it was not. A sink that does not answer is trained for four lanes at rate code 0.
 *
 * Returns 0 when the capabilities could be read, else -1; -1 for a port that is not 0 to 3, with
 * "channel %d is out of range" on standard output.
 */
ZVG_API int zvgDpLinkTraining(int port);

/*
 * The transfer unit of 64 symbols: its word for a pixel clock in kHz and bits a pixel at the lanes
 * and rate that the controller has, all in 32-bit arithmetic. Writes and returns it; 0, and nothing
 * written, without a lane or a rate.
 */
ZVG_API uint32_t zvg_dptx_set_tu_size(const zvg_dptx* device, uint32_t pixel_clock, uint32_t bpp);

/*
 * The user data count of a line: active pixels times bytes a pixel (29 bits of it), divided,
 * rounded up. Writes and returns it; 0, and nothing written, for a divisor of 0.
 */
ZVG_API uint32_t zvg_dptx_set_user_data_count(const zvg_dptx* device, uint32_t active,
                                              uint32_t bytes, uint32_t divisor);

/*
 * Trains the link at the sink's rate (8.1 Gbit/s at 1.62) and starts the stream with a timing.
 *
 * mode: ten words, enum zvg_mode_word, the sync flags in the tenth.
 * Returns 0. Prints the capabilities, "DP%d: enable the link" and, on port 3, what is wrong with
 * the panel's self-refresh.
 */
ZVG_API int zvg_dptx_mode_set(zvg_dptx* device, const uint32_t* mode);

/*
 * Copies the timing of the first display controller into a transmitter and starts its stream.
 * Sets the port up first when it was not. Prints "pclk=%d" in kHz and what zvg_dptx_mode_set()
 * prints. Returns 0; -1 for a port above 3, with "channel %d is out of range" on standard output.
 */
ZVG_API int zvgDpCTLCfg(uint32_t port);

/* ------------------------------------------------------------------------------------------- */
/* Output modes, VGA gains and the embedded panel                                              */
/* ------------------------------------------------------------------------------------------- */

/* Sync flags, in the tenth word of a mode record. */
enum zvg_sync_flag {
  ZVG_SYNC_H_POSITIVE = 1,
  ZVG_SYNC_H_NEGATIVE = 2,
  ZVG_SYNC_V_POSITIVE = 4,
  ZVG_SYNC_V_NEGATIVE = 8
};

/* Prints which display controller feeds each output, in colour. Returns 0. */
ZVG_API int zvgCrtcOutputPrint(void);

/*
 * Reads back the timing of a display controller, or of the one that feeds a VGA or DVO output.
 *
 * crtc: 0 to 3. instance: 0 to 3; another prints "channel out of range" on standard output and
 * reads controller 0. mode: ten words; the sync flags are ORed into the tenth: clear it first.
 * Returns the pixel clock in kHz.
 */
ZVG_API uint32_t zvgCrtcModeRead(uint32_t crtc, uint32_t* mode);
ZVG_API uint32_t zvgVgaModeRead(int instance, uint32_t* mode);
ZVG_API uint32_t zvgDvoModeRead(uint32_t instance, uint32_t* mode);

/*
 * Reads back the timing of a DisplayPort transmitter: nine words, the pixel clock always 0. The
 * port is not checked. Returns the vertical sync end.
 */
ZVG_API uint32_t zvgDpModeRead(uint32_t port, uint32_t* mode);

/*
 * Gains of the VGA DAC: the low byte of each counts, at most 63. colour: 'R', 'G' or 'B'.
 * Returns 0, or -1 for another letter.
 */
ZVG_API int zvgVgaSetSigleGain(char colour, uint32_t gain);
ZVG_API int zvgVgaSetGain(uint32_t red, int green, int blue);

/*
 * Switches the self-test of an embedded panel (driver mode). state: 0 or 1.
 * Returns 0, also when the panel is in that state; -1 when it has no self-test; -22 when a DPCD
 * transfer fails. Messages go to standard output.
 */
ZVG_API int zvgEdpSelfTestSet(uint32_t port, uint32_t state);

/*
 * The backlight's PWM: its rate, 20 to 10000 Hz; its duty, 0 to 100 percent of the period that is
 * set; and its start. The first two return 0, or -1 with a text on standard output when out of
 * range; the last returns the write's result.
 */
ZVG_API int zvgEdpPwmSet(int rate);
ZVG_API int zvgEdpLightSet(uint32_t percent);
ZVG_API int zvgEdpEnablePwm(void);

/* zvg_lut_load() on the open connection. */
ZVG_API int zvgCrtcGammaSet(uint8_t* lut);

/* ------------------------------------------------------------------------------------------- */
/* Colour ramps and lookup tables                                                              */
/* ------------------------------------------------------------------------------------------- */

/* What a display controller's lookup table shall correct for. */
typedef struct zvg_color_setting {
  uint32_t crtc;       /* 0 to 3 */
  int32_t temperature; /* kelvin, 1000 to 25099; 6500 is neutral */
  float gamma[3];      /* red, green, blue; 1.0 is neutral */
  float brightness;    /* 1.0 is neutral */
} zvg_color_setting;

/* A lookup table as the driver takes it: the addresses of size 16-bit entries for each channel. */
typedef struct zvg_crtc_lut {
  uint32_t crtc;
  uint32_t size;
  uint64_t red;
  uint64_t green;
  uint64_t blue;
} zvg_crtc_lut;

/*
 * Corrects ramps in place: pow(in * brightness * white point, 1 / gamma), with 65536 as 1.0 for
 * integers. The white point follows a black body at the setting's temperature, interpolated
 * between rows 100 K apart; beyond them the nearest counts. A size below 1 does nothing.
 */
ZVG_API void colorramp_fill(uint16_t* red, uint16_t* green, uint16_t* blue, int32_t size,
                            const zvg_color_setting* setting);
ZVG_API void colorramp_fill_float(float* red, float* green, float* blue, int32_t size,
                                  const zvg_color_setting* setting);

/*
 * Makes the lookup table of a setting: 256 entries a channel. The caller frees the entries (one
 * block, at red) and then the table. Returns NULL without memory for both.
 */
ZVG_API zvg_crtc_lut* zvg_set_color(const zvg_color_setting* setting);

/*
 * Makes a lookup table of a command and gives it to the driver at fd.
 *
 * cmdline: the controller's number, then in any order "ga R:G:B", "br F" and "ct KELVIN", e.g.
 * "0 ga 2.2:2.2:2.2 br 0.9 ct 6500"; less than 256 characters.
 * Returns the request's result; -1 for a command that is too long or a controller above 3; -22
 * for a key without its values or a temperature outside 1000 to 25099. Those are printed on
 * standard output, beginning with "[ERROR]", and nothing is sent. Without memory for the table
 * nothing is sent, either: -1 and errno ENOMEM, as of a request that failed.
 */
ZVG_API int zvg_lut_load(int fd, const char* cmdline);

/* ------------------------------------------------------------------------------------------- */
/* Flash: SPI controller, reading and status                                                   */
/* ------------------------------------------------------------------------------------------- */

/*
 * Common to the flash family. The board's SPI NOR flash holds 2 MiB behind the chip's SPI
 * controller; addresses are byte offsets in it, of which 24 bits count. Progress and errors go to
 * standard output. Results are 0, or -1 after the error line that is named, unless said otherwise.
 * A wait for the controller ends after 22 looks, 10 us apart. One caller at a time.
 */

/*
 * Takes the flash out of continuous-read mode, once after each reset of the board: a flag on the
 * chip remembers it. Returns 0 when that was done before, else the last register write's result.
 */
ZVG_API int zvgSpiExitCrmMode(void);

/* Sends one command: 0x06 write enable, 0x04 write disable, 0x50 write enable for the volatile
 * status registers. "ENABLE ERROR" on failure. */
ZVG_API int zvgSpiEnableReg(uint32_t cmd);

/* Writes 0 to status register 1 and value to status register 2: 2 sets quad enable, 0 clears it.
 * Comes after zvgSpiEnableReg(). "QSPI MODE ENBALE ERROR" on failure. */
ZVG_API int zvgSpiWriteStatusReg(uint32_t value);

/*
 * Prints status register 1 (cmd 0x05) or 2 (cmd 0x35) and waits until the flash is not busy, or
 * until quad enable and nothing else is set. Returns 0; on failure a positive number, after
 * "Read STATUSREG ERROR".
 */
ZVG_API int zvgSpiReadStatusReg(uint32_t cmd);

/*
 * Quad read. buffer: length bytes rounded up to whole words are filled. length: bytes. Leaves the
 * flash's quad enable set. "SPI READ ERROR" on failure.
 */
ZVG_API int zvgSpiReadBuffer(uint32_t* buffer, uint32_t address, int length);

/* As zvgSpiReadBuffer() over a single line, a byte a frame; fills just length bytes. */
ZVG_API int zvgSpiReadBufferStandard(uint8_t* buffer, uint32_t address, int length);

/* As zvgSpiReadBuffer(), without setting quad enable or looking whether the flash is busy. */
ZVG_API int zvgSpiDebugRead(uint32_t* buffer, uint32_t address, int length);

/* ------------------------------------------------------------------------------------------- */
/* Flash: erasing, programming, verifying, protecting                                          */
/* ------------------------------------------------------------------------------------------- */

/* Erases 4, 32 or 64 KiB around address, or the whole chip. "SPI 4KB ERASE ERROR" and so on. */
ZVG_API int zvgSpiEraseSector(uint32_t address);
ZVG_API int zvgSpiErase32kbBlock(uint32_t address);
ZVG_API int zvgSpiErase64kbBlock(uint32_t address);
ZVG_API int zvgSpiEraseChip(void);

/* 1 when address is not a multiple of 4096, else 2 when size is not, else 0. */
ZVG_API int check_erase_alignment(uint32_t address, uint32_t size);

/*
 * Erases size bytes from address on, in the largest pieces that fit. Returns -1 when the range is
 * not aligned. Does not return while a piece fails, nor at all for the whole 2 MiB at 0: use
 * zvgSpiEraseChip().
 */
ZVG_API int zvgSpiErase(uint32_t address, uint32_t size);

/*
 * Reads length bytes back, in quad mode or over a single line, and compares them with expected as
 * strings: up to the first zero byte that both have. Returns 0 or -1, after "SPI CHECK DATA
 * SUCCESS" or "SPI CHECK DATA ERROR"; without memory -1 and the system's reason on standard error.
 */
ZVG_API int zvgSpiCheckData(const uint8_t* expected, uint32_t address, int length);
ZVG_API int zvgSpiCheckDataStandard(const uint8_t* expected, uint32_t address, int length);

/*
 * Programs length bytes at an address that was erased and is the begin of a page, then verifies
 * them as above. data of the quad variant is readable up to the next whole word.
 * "SPI PROGRAM ERROR" on failure.
 */
ZVG_API int zvgSpiProgram(const uint32_t* data, uint32_t address, int length);
ZVG_API int zvgSpiProgramStandard(const uint8_t* data, uint32_t address, int length);

/*
 * Sets or clears the protection of all blocks; quad enable stays set. zvgSpiProtect() waits
 * without an end for a controller that does not get idle. "SPI PROTECT ERROR" or
 * "SPI UNPROTECT ERROR" on failure.
 */
ZVG_API int zvgSpiProtect(void);
ZVG_API int zvgSpiUnprotect(void);

/* ------------------------------------------------------------------------------------------- */
/* Flash: board information and serial number                                                  */
/* ------------------------------------------------------------------------------------------- */

/* An entry of the board information, 64 bytes in the flash and two fields more in memory. */
struct board_info_entry {
  uint16_t magic;       /* 0x0709 */
  uint16_t type;        /* 0x5044 for an EDID */
  uint16_t id;          /* the output it belongs to */
  uint16_t sub_index;   /* 0 */
  uint16_t data_offset; /* from the header's begin, bytes */
  uint16_t data_size;   /* bytes */
  uint16_t checksum;    /* with it the 16-bit words of the data add up to 0 */
  uint16_t next;        /* the next header's offset from 0x70200; 0 ends the chain */
  uint8_t reserved[48];
  uint32_t address; /* the header's, in the flash */
  uint8_t* data;
};

/* What board_info_image_handle() fills. */
struct board_info_edid_request {
  uint32_t unused_0[3];
  uint32_t output; /* whose EDID */
  uint32_t unused_1[2];
  uint8_t edid[256];
};

/*
 * Reads the entry after previous, or the first one for NULL. Returns it, newly allocated with its
 * data, both of which the caller frees; NULL at the end of the chain, for an entry whose magic or
 * checksum is wrong, when the flash cannot be read, and without memory ("Failed to malloc
 * header.", "Failed to malloc data." on standard output). An entry may name itself or one before it
 * as the next: who walks the chain ends after 127 entries, as many as the area can hold.
 */
ZVG_API struct board_info_entry* board_info_image_next(const struct board_info_entry* previous);

/*
 * Copies the stored EDID of target->output, of 128 or 256 bytes, to target->edid; without one,
 * leaves it alone. Of several the last one counts; 127 entries are read at the most. Returns 0. The
 * entries that were read stay allocated.
 */
ZVG_API int board_info_image_handle(struct board_info_edid_request* target);

/*
 * Stores an EDID for an output. data: size bytes, 448 at the most. Returns 0 or -1. The slots are
 * no whole sectors, which zvgSpiErase() refuses: it prints its two lines, and -1 is returned.
 * Without memory for the first entry of an empty chain: "Failed to malloc header h1.".
 */
ZVG_API int board_info_image_write_edid(uint32_t output, const uint16_t* data, uint32_t size);

/* 1 for a character that a serial number may have, 0x2D to 0x7A, else 0. */
ZVG_API int is_valid_char(char c);

/*
 * Reads the board's serial number, without a terminator. length: room in buffer, 10 to 64 bytes,
 * more than the serial number has. Returns 0; -2 without a good record; -3 when length is out of
 * range, when the serial number does not fit (its begin is copied), or when it has a character that
 * it may not have; -1 when the flash cannot be read. With a wrong checksum it is copied, too.
 */
ZVG_API int zvgSnRead(char* buffer, int length);

/* Serial numbers cannot be programmed: reads the record and returns -2, or -1 when that fails. */
ZVG_API int zvgSnProgram(void);

/* ------------------------------------------------------------------------------------------- */
/* EDID                                                                                        */
/* ------------------------------------------------------------------------------------------- */

/* The EDID store, filled by edid_print_helper() and decoded by do_edid_parse(NULL). */
extern ZVG_API uint8_t last_edid[256];

/* Where the store is; all code reads and writes it through this pointer. */
extern ZVG_API uint8_t* g_last_edid;

/* Bits of zvg_display_mode.flags. */
enum zvg_mode_flag {
  ZVG_FLAG_HSYNC_POSITIVE = 0x01,
  ZVG_FLAG_HSYNC_NEGATIVE = 0x02,
  ZVG_FLAG_VSYNC_POSITIVE = 0x04,
  ZVG_FLAG_VSYNC_NEGATIVE = 0x08,
  ZVG_FLAG_INTERLACED = 0x10,
  ZVG_FLAG_DOUBLE_SCAN = 0x20
};

/* A display mode as the EDID decoder sees it; 160 bytes. Timings in pixels and lines. */
struct zvg_display_mode {
  char name[32]; /* "1920x1080", with a trailing "i" when interlaced */
  int32_t status;
  int32_t type;  /* 64 in the established timings, 0 from a descriptor */
  int32_t clock; /* kHz */
  int32_t hdisplay;
  int32_t hsync_start;
  int32_t hsync_end;
  int32_t htotal;
  int32_t hskew;
  int32_t vdisplay;
  int32_t vsync_start;
  int32_t vsync_end;
  int32_t vtotal;
  int32_t vscan;
  uint32_t flags; /* enum zvg_mode_flag */
  int32_t width_mm;
  int32_t height_mm;
  int32_t hardware[13]; /* not used by the decoder, zero */
  int32_t vrefresh;     /* Hz; 0 means compute it from the timings */
  int32_t reserved[2];  /* zero */
};

/*
 * Decodes an EDID and prints the report on standard output.
 *
 * path: a file of 128 or 256 raw bytes (of a larger file the first 256 bytes are decoded), or
 * null for the EDID store.
 * Always returns 0: a file that cannot be opened or has another size is only reported, as are
 * header, checksum and version faults, after which decoding goes on.
 */
ZVG_API int do_edid_parse(const char* path);

/*
 * Prints count bytes as a hex dump. store (low byte not 0) also clears the EDID store, copies the
 * bytes into it (the first 256 of them) and prints "EDID is ready for parsed.".
 */
ZVG_API void edid_print_helper(const uint8_t* bytes, uint32_t count, int store);

/*
 * Checks header, checksum and version of one block and prints what it found.
 * edid: the whole EDID, block 0 first. block: 0 or 1.
 * Returns 1 when the block is accepted (a CEA block also with a wrong checksum), else 0.
 */
ZVG_API int zvg_edid_block_is_valid(const uint8_t* edid, int block);

/* Prints n newlines on standard output. */
ZVG_API void print_empty_line(int n);

/* The mode's refresh rate in Hz: mode->vrefresh when set, else from its timings; 0 if unknown. */
ZVG_API int zvg_mode_vrefresh(const struct zvg_display_mode* mode);

/* Writes mode->name from its size and flags; returns what snprintf returns. */
ZVG_API int zvg_mode_set_name(struct zvg_display_mode* mode);

/* Appends the words for flags to text, which has room for 120 bytes. */
ZVG_API void zvg_detailed_mode_flag2str(uint32_t flags, char* text);

/* ------------------------------------------------------------------------------------------- */
/* DDR training diagnostics                                                                    */
/* ------------------------------------------------------------------------------------------- */

/* What a DDR PHY's firmware trains, as zvgDdrShowEye() takes it. */
enum zvg_ddr_training {
  ZVG_DDR_TRAINING_DDR4_2D = 0,
  ZVG_DDR_TRAINING_LPDDR4X_2D = 1,
  ZVG_DDR_TRAINING_DDR4_1D = 2,
  ZVG_DDR_TRAINING_LPDDR4X_1D = 3
};

/* A message of the training firmware; 260 bytes. */
struct zvg_ddr_message {
  uint32_t id;      /* the low byte is the number of arguments */
  char format[256]; /* for printf with that many uint32_t; ends with a NUL and is filled up with
                       them */
};

/* How many records the message catalogues have: that depends on the firmware they belong to. */
#define ZVG_DDR4_LPDDR4X_2D_RECORDS 569
#define ZVG_DDR4_1D_RECORDS 412
#define ZVG_LPDDR4X_1D_RECORDS 399
#define ZVG_DDR4_1D_OLD_RECORDS 379

/*
 * The message catalogues, by ascending identifier, so that findDebugPos() finds them; a last record
 * of identifier 0 may close one.
 */
/* Training types 0 and 1; type 2; type 3; an earlier firmware's type 2. */
extern ZVG_API const struct zvg_ddr_message ddr_debug_ddr4_lpddr4x_2d[ZVG_DDR4_LPDDR4X_2D_RECORDS];
extern ZVG_API const struct zvg_ddr_message ddr_debug_ddr4_1d[ZVG_DDR4_1D_RECORDS];
extern ZVG_API const struct zvg_ddr_message ddr_debug_lpddr4x_1d[ZVG_LPDDR4X_1D_RECORDS];
extern ZVG_API const struct zvg_ddr_message ddr_debug_ddr4_1d_old[ZVG_DDR4_1D_OLD_RECORDS];

/*
 * Listens to the training firmware of DDR channels and prints its messages on standard output. The
 * rows of its eye scans are collected, and printed as text grids once a channel has been silent for
 * about 1000 polls of 100 us. A channel that never falls silent is listened to for ever.
 * On a connection that is dead, so that the mailbox reads 0 (a message is there) for ever, it NEVER
 * RETURNS; a register of the channel's PHY that reads all ones counts as silence.
 *
 * channel_mask: bit i is channel i; bits from the board's channel count on are not looked at.
 * type: enum zvg_ddr_training; also selects the current catalogue.
 * Returns 0, or -1 for any other type, which is told on standard error.
 */
ZVG_API int zvgDdrShowEye(uint32_t channel_mask, int type);

/*
 * Finds an identifier in the current catalogue: that of the last zvgDdrShowEye(), at first the one
 * of 2D training. Returns its index, or the catalogue's record count when it is not there, which is
 * also told on standard output unless the identifier is 0.
 */
ZVG_API uint32_t findDebugPos(uint32_t id);

/*
 * Prints a message on standard output. arguments: as many words as its identifier says. Messages of
 * 13 to 30 or more than 31 arguments, and those of identifier 0, are not printed.
 */
ZVG_API void my_printf(const uint32_t* arguments, struct zvg_ddr_message message);

/*
 * Counts one row of an eye scan, 31 values, into the eye (read or write, write at first) whose scan
 * the last message announced. The low byte of a value is the row that its column meets; from 0x80
 * on it is none. Counters are 8 bits wide, wrap, and are never cleared.
 */
ZVG_API void set_2d_eye(const uint32_t* values);

/*
 * Prints both eyes on standard output, highest row first, 31 counters a line. Takes its time: 100
 * ms a line, and a second between the eyes.
 */
ZVG_API void print_2d_eye(void);

/* ------------------------------------------------------------------------------------------- */
/* AXI bus monitor                                                                             */
/* ------------------------------------------------------------------------------------------- */

/*
 * Every monitor watches one port of the chip's bus and counts over a measuring period. Type 1
 * counts both directions; type 2 reads only; type 3 writes only on RQ301, both directions on
 * RQ302. Counters are read with 32-bit register reads whose failures are not looked at, nor are
 * those of the files: what cannot be written is missing.
 */

/* Words of a monitor's record. */
enum zvg_axi_words {
  ZVG_AXI_RQ301_TYPE1_WORDS = 18,
  ZVG_AXI_RQ301_TYPE2_WORDS = 8,
  ZVG_AXI_RQ301_TYPE3_WORDS = 9,
  ZVG_AXI_RQ302_TYPE1_WORDS = 29, /* 26 counters; low words of write and read slot, high bytes */
  ZVG_AXI_RQ302_TYPE2_WORDS = 11,
  ZVG_AXI_RQ302_TYPE3_WORDS = 25
};

/*
 * RQ301: reads the monitor at the register offset base. record gets the words of before (it may be
 * the same record) and then those that are read: all but word 10 of type 1 and word 8 of type 3.
 */
ZVG_API void zvgMonitorAxiType1(uint32_t* record, uint32_t base, const uint32_t* before);
ZVG_API void zvgMonitorAxiType2(uint32_t* record, uint32_t base, const uint32_t* before);
ZVG_API void zvgMonitorAxiType3(uint32_t* record, uint32_t base, const uint32_t* before);

/*
 * RQ301: appends a port's summary, with Chinese labels in UTF-8, to "axiMonitorData" in the current
 * folder. Type 1 and 2 show the maximum read bandwidth doubled unless the connection is a serial
 * one. Returns the result of closing the file; 0 when it does not open.
 */
ZVG_API int monitorAxi1_to_file(const char* port, const uint32_t* record);
ZVG_API int monitorAxi2_to_file(const char* port, const uint32_t* record);
ZVG_API int monitorAxi3_to_file(const char* port, const uint32_t* record);

/* RQ301: reads all monitors, then appends the summaries of all ports. Returns the last one's
 * result. */
ZVG_API int zvgMonitorAxiTrans_RQ301(void);

/*
 * RQ302: reads the monitor whose counters begin at the register offset base. slot_offset: where the
 * port's slot addresses are, from 0x288800 on. Return 0.
 */
ZVG_API int zvgMonitorAxiType1_RQ302(uint32_t base, uint32_t* record, uint32_t slot_offset);
ZVG_API int zvgMonitorAxiType2_RQ302(uint32_t base, uint32_t* record);
ZVG_API int zvgMonitorAxiType3_RQ302(uint32_t base, uint32_t* record);

/*
 * RQ302: writes into the port's table, "<folder>/<port>.dat": tab-separated, a row a sample.
 *
 * time: the sample's number; 0 begins the table anew, with a header line. data_update: 0 for no
 * row. timeout: not 0 puts 1 into the row's column of that name.
 */
ZVG_API void zvgMonitorAxi1_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                          int data_update, int timeout, const char* folder);
ZVG_API void zvgMonitorAxi2_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                          int data_update, int timeout, const char* folder);
ZVG_API void zvgMonitorAxi3_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                          int data_update, int timeout, const char* folder);

/*
 * RQ302: one sample of all 22 ports, into tables in the folder "Monitor_Data_<suffix>", which is
 * made if need be. time: the sample's number. suffix: at most 34 bytes; more are cut.
 * Prints the data-update flags, the folder's name and whether it was made on standard output.
 */
ZVG_API void zvgMonitorAxiTrans_RQ302(uint32_t time, const char* suffix);

/*
 * RQ302: samples for ever, four times a second, over a serial line as fast as that goes (and with
 * a measuring period of 300,000,000 cycles, which it sets). The body of a thread, for
 * pthread_create(); it never returns. suffix: text, as above, which has to outlive the thread.
 *
 * The connection, the reused request records and the folder's name are used without a lock: until
 * the thread has ended, NO OTHER FUNCTION of the library may be called, zvgClose() included. End it
 * with pthread_cancel() and pthread_join(): it takes effect between two samples only, in the sleep
 * before one, so that every table is closed and has whole rows. Over a serial line that may take as
 * long as a sample does. A thread that was started with cancellation disabled keeps it so.
 */
ZVG_API void* zvg_thread_rq302monitor(void* suffix);

/* ------------------------------------------------------------------------------------------- */
/* Clocks and PLLs                                                                             */
/* ------------------------------------------------------------------------------------------- */

/*
 * The rq301 and rq302 functions are for their own generation; the rq300 ones choose by
 * get_device_id(): 0x202 is RQ302, anything else RQ301. Register access goes to the block at
 * zvg_gpu_hardware[ZVG_HW_CLOCK]; failed accesses are not noticed.
 *
 * A PLL's configuration word: bits 0-3 loop band, 4-6 OD, 8-12 M-1, 16-24 N-1, 28-31 P-1 on RQ301;
 * on RQ302 bit 31 is the bypass and there is no P. Output = 2 x 27 MHz x N / (M x P x 2^OD).
 */

/* Clock numbers of zvg_rq300_set_clk_freq() and the read-back functions. */
enum zvg_clock {
  ZVG_CLOCK_AXI = 0,       /* devpll */
  ZVG_CLOCK_DEVPLL_2 = 1,  /* the second output of devpll; cannot be set */
  ZVG_CLOCK_APB = 2,       /* devpll */
  ZVG_CLOCK_PCIE = 3,      /* dev2pll */
  ZVG_CLOCK_VPU = 4,       /* dev2pll */
  ZVG_CLOCK_3D = 5,        /* gpupll or gpu2pll */
  ZVG_CLOCK_3D_SHADER = 6, /* gpupll or gpu2pll */
  ZVG_CLOCK_2D = 7,
  ZVG_CLOCK_FIFTH_PLL = 8 /* read only */
};

/* Modes of the mode functions. */
enum zvg_clock_mode { ZVG_CLOCK_POWER_ON = 0, ZVG_CLOCK_BYPASS = 1, ZVG_CLOCK_OFF = 2 };

/*
 * Finds the configuration word for a frequency: of all settings with a VCO of 3 to 6 GHz and 7 to
 * 200 MHz at the phase comparator the one with the smallest error, below 1 MHz (2 MHz for targets
 * from 1 GHz on; at exactly this limit only a P below 16 is taken). Among equal errors the smallest
 * P wins, then the smallest N, M and OD.
 *
 * input_khz: the reference, 7000 to 600000; the board's is 27000. max_post_divider: the largest P:
 * 16 on RQ301 (the word has room for no more); ALWAYS 1 ON RQ302, whose PLL registers have no P
 * (see zvg_rq300_set_clk_freq()). target_khz: the wanted output. word: the result, 0 when nothing
 * was found; may be null. Returns 0; -2 when no setting comes near enough; -1 for an input out of
 * range, with "input frequency %d is out of range" on standard output and nothing stored.
 */
ZVG_API int zvg_rq300_pllcalc(int input_khz, unsigned max_post_divider, unsigned target_khz,
                              uint32_t* word);

/*
 * The output of a configuration word in MHz, rounded, from a 27 MHz reference. post_divider: the
 * field, P - 1 (that of the word itself is not looked at).
 */
ZVG_API int calc_pllout(uint32_t word, uint32_t post_divider);

/*
 * Reads back a clock (enum zvg_clock). Returns MHz; 27 when its PLL is bypassed, 0 when it is off;
 * -1 for another number, with "%s: command error" (the function's name) on standard output.
 */
ZVG_API int zvg_rq301_get_freq(unsigned clock);
ZVG_API int zvg_rq302_get_freq(unsigned clock);
ZVG_API int zvg_rq300_get_freq(unsigned clock);

/*
 * Give the 3D core, 3D shader and 2D clock the frequency of a configuration word. The clock runs
 * from another PLL while its own is programmed. Print "3d core clk set ok", "3d sh clk set ok" or
 * "2d clk set ok"; a PLL that never locks is not reported. RQ302 takes bits 0 to 24 of the word and
 * keeps the PLL's bypass; RQ301 takes it whole.
 */
ZVG_API void zvg_rq301_set_3d_clk_freq(uint32_t word);
ZVG_API void zvg_rq301_set_3dsh_clk_freq(uint32_t word);
ZVG_API void zvg_rq301_set_2d_clk_freq(uint32_t word);
ZVG_API void zvg_rq302_set_3d_clk_freq(uint32_t word);
ZVG_API void zvg_rq302_set_3dsh_clk_freq(uint32_t word);
ZVG_API void zvg_rq302_set_2d_clk_freq(uint32_t word);
ZVG_API void zvg_rq300_set_3d_clk_freq(uint32_t word);
ZVG_API void zvg_rq300_set_3dsh_clk_freq(uint32_t word);
ZVG_API void zvg_rq300_set_2d_clk_freq(uint32_t word);

/*
 * Sets any clock that can be set (enum zvg_clock); others are ignored. Prints "axi clk set ok",
 * "apb clk set ok", "pcie/vpu clk set ok" or the messages above.
 *
 * Clocks 0 to 4 write the word whole, bits 28 to 31 (P - 1) with it. RQ301 divides by that P. RQ302
 * does not: its bit 31 is the PLL's bypass, so that a word with P above 8 bypasses the PLL, and the
 * other bits do nothing, so that the clock runs at P times what the word was found for. The
 * read-backs do not show either: they take P from the divider register (RQ301 clocks 0 to 2, RQ302
 * clocks 0 to 4) or count it as 1, never from the word, and for clocks 0 to 4 RQ302's does not look
 * at the bypass. So ask zvg_rq300_pllcalc() for P = 1 on RQ302 and keep bits 28 to 31 clear.
 */
ZVG_API void zvg_rq300_set_clk_freq(unsigned clock, uint32_t word);

/*
 * Powers a PLL or clock on, bypasses it or switches it off, and says so on standard output.
 *
 * mode: enum zvg_clock_mode. number: 1 devpll, 2 dev2pll, 3 gpupll, 4 gpu2pll, 5 the PLL of the 3D
 * core, 6 that of the 2D core. On RQ301 off is the same as bypass for 1 to 4.
 * Returns -2 for anything else, without an access. On success RQ301 returns 0, RQ302 the length of
 * the printed line.
 */
ZVG_API int zvg_rq301_set_clk_mode(int mode, int number);
ZVG_API int zvg_rq302_set_clk_mode(int mode, int number);
ZVG_API int zvg_rq300_set_clk_mode(int mode, int number);

/* ------------------------------------------------------------------------------------------- */
/* Sensors and fan                                                                             */
/* ------------------------------------------------------------------------------------------- */

/* Sensor types of zvgPvtGetCode(); 2 to 4 are process codes. */
enum zvg_pvt_type { ZVG_PVT_TEMPERATURE = 0, ZVG_PVT_VOLTAGE = 1, ZVG_PVT_PROCESS = 2 };

/*
 * Reads the 10-bit code of an on-die sensor: by the driver, or by the sensor block's registers,
 * where another type or sensor than the last one takes 1.1 s.
 *
 * type: 0 to 4. index: the sensor, 0 or 1; not checked here. code: may be null; kept on failure.
 * Returns 0; -22 for a type or chip that the registers do not have; the failed request's or
 * register access's negative result, the latter with that access's own message only.
 * Prints on standard output "card %d: Geting Pvt code failed with type %d and index %d",
 * "failed to get Pvt code with error type %d" or "device id 0x%x is not supported!".
 */
ZVG_API int zvgPvtGetCode(uint32_t type, uint32_t index, uint32_t* code);

/* Degrees Celsius of a temperature code c: the sensor's polynomial of the fourth degree. */
ZVG_API double code_to_temp(int code);

/*
 * A sensor's temperature in degrees Celsius, voltage in volts, or process code of type 2 to 4.
 *
 * index: 0 or 1; process codes of RQ302 only 0. Others return -22 and print "zvgSensorTemp: invalid
 * index %d for RQ302" (or RQ301; the voltage function names this one, too) or "zvgSensorProcess:
 * ...". The result's pointer may be null. Return 0 or zvgPvtGetCode()'s error.
 */
ZVG_API int zvgSensorTemp(uint32_t index, double* celsius);
ZVG_API int zvgSensorVolt(uint32_t index, double* volts);
ZVG_API int zvgSensorProcess(uint32_t type, uint32_t index, uint32_t* code);

/*
 * Sets the fan's duty cycle, in driver and serial mode.
 *
 * percent: 0 to 100; with the driver a negative number goes back to automatic control. Over the
 * serial line 0 still turns the fan, at one per cent.
 * Returns 0; -1 for a number out of range or a failed request; -22 in other modes.
 * Prints on standard output "failed to clear manual fan", "input number is out of range!" or "set
 * fan rate percent out of range  please set percent from 0 to 100"; on standard error "failed to
 * set manual fan" with the system's text, or "s_type (%d) is not supported".
 */
ZVG_API int zvgFanSetRate(int percent);

/*
 * Hands the driver's thermal control a temperature for a test, in the driver's unit. Returns 0, or
 * -1 with "failed to input thermal temp" on standard output.
 */
ZVG_API int zvgThermalDebug(uint32_t temperature);

/* ------------------------------------------------------------------------------------------- */
/* Device query and power state (driver mode)                                                  */
/* ------------------------------------------------------------------------------------------- */

/* A text buffer of this many bytes holds any report of zvgQueryInfo(). */
#define ZVG_QUERY_INFO_SIZE 4096

/*
 * Writes what the driver knows about the device as lines of text.
 *
 * keyword: ID, AXI, VPU, 3D, 2D, DDR, GOP, CARD, CHANNEL, VRAM, BANDWIDTH or FIRMWARE, or the
 * beginning of one (several items may have it); 3DCORE or 2DCORE; LOAD with anything after it. An
 * empty one (or null) stands for all. The load item takes the next token of the caller's strtok()
 * scan as the engine's number; without one it lists engines 0 to 20.
 * buffer: ZVG_QUERY_INFO_SIZE bytes; left alone when no item is selected.
 * Loading the library ends a strtok() scan of the process, so that there always is one to go on
 * with. Returns 0, or -1 when nothing was written. Queries that fail show the number that was sent.
 */
ZVG_API int zvgQueryInfo(const char* keyword, char* buffer);

/* States of the driver's power management; zvgPowerStateName() knows others as "Invalid". */
enum zvg_power_state { ZVG_POWER_PERFORMANCE = 0, ZVG_POWER_SAVE = 1, ZVG_POWER_STANDBY = 2 };

/*
 * The driver's power state; 0 in other modes. state: may be null; kept on failure. Returns 0, or
 * the request's result with "zvgPowerGetState: get power state failed" on standard error.
 */
ZVG_API int zvgPowerGetState(uint32_t* state);

/*
 * Sets the driver's power state. Returns 0; the request's result, with "zvgPowerSetState: set power
 * state failed" on standard error; -1 in other modes, with "zvgPowerSetState: error, driver module
 * is not installed!".
 */
ZVG_API int zvgPowerSetState(uint32_t state);

/* "Performance", "Save", "standby" or "Invalid". Never null; lives as long as the process. */
ZVG_API const char* zvgPowerStateName(uint32_t state);

/* ------------------------------------------------------------------------------------------- */
/* Environment of the graphics driver                                                          */
/* ------------------------------------------------------------------------------------------- */

/* A node of the menu of settings. */
struct zvgkit_menu_node {
  char env[32];      /* the variable that it sets; empty in nodes that lead on */
  char value[32];    /* what it sets it to */
  char label[32];    /* its name, in capitals */
  const char* alias; /* another name; may be null */
  uint32_t number;   /* its number among its siblings, from 1 */
  uint32_t level;    /* its depth */
  int32_t child_count;
  const char* prompt; /* what is asked above its children; may be null */
  const struct zvgkit_menu_node* children;
};

/* The menu: its root, the functions, the core modes, the 3D interfaces, the single core. */
extern ZVG_API const struct zvgkit_menu_node Func[1];
extern ZVG_API const struct zvgkit_menu_node Func_child[5];
extern ZVG_API const struct zvgkit_menu_node Core_child[3];
extern ZVG_API const struct zvgkit_menu_node _3D_child[4];
extern ZVG_API const struct zvgkit_menu_node Indep_child[1];

/*
 * Walks the menu by the words of a command line and carries out the choice that they lead to, or
 * prints the choices to go on with.
 *
 * line: the command's name, which is skipped, and the words: labels in any case, aliases or
 * numbers. It is cut up in place.
 * Returns 0; -1 for a wrong word ("wrong choose!"), an incomplete one ("set error") or a script
 * that is too long or would get so, or that cannot be opened, for a setting or for a list, for lack
 * of memory. One that cannot be opened for a setting otherwise ENDS THE PROCESS as in zvgEnvSet().
 */
ZVG_API int64_t zvgkit_func(char* line);

/*
 * Sets a variable in the login profile script "/etc/profile.d/zvg_util_env.sh" and in the process,
 * and runs "source /etc/profile" in a shell. Name "0" with value "0" empties the script, or creates
 * it; other settings need it to be there.
 *
 * name: the variable; the first one in the script that begins with it is changed. value: with room
 * for two more bytes, because a value of another length than the old one gets a line feed in place.
 * Always returns 0. A script that cannot be opened prints "can't open file" and ENDS THE PROCESS
 * with status 0. One that has 1024 bytes or more, or would have by this setting, is left alone, and
 * so are the value and the process's environment: a line on standard error says which. So is one
 * that cannot be opened for lack of memory: "... was not opened: out of memory" there. Failed
 * writes print "file write error!", a refused variable "set tmp env error!".
 */
ZVG_API int zvgEnvSet(const char* name, char* value);

#ifdef __cplusplus
}
#endif

#endif /* UTIL_ZVG_H */
