// Board information in the flash: reading its chain, handing out the EDIDs in it.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <optional>

#include "formats/board_info/entry.h"
#include "util_zvg.h"

namespace {

using namespace zvg::formats::board_info;

// An entry begins with the header's bytes as they are in the flash.
static_assert(offsetof(board_info_entry, address) == header_size);
uint8_t* header_bytes(board_info_entry* entry) {
  return reinterpret_cast<uint8_t*>(entry);
}
Header header_of(const board_info_entry& entry) {
  return parse_header(reinterpret_cast<const uint8_t*>(&entry));
}

// Whole words: that is what a quad read fills.
void* allocate(uint32_t bytes) {
  const size_t size = (size_t{bytes} + 3) / 4 * 4;
  void* const memory = malloc(size);
  if (memory != nullptr) memset(memory, 0, size);
  return memory;
}

bool in_area(uint32_t address) {
  return address >= area_begin && address <= area_end;
}

// Frees an entry and its data.
void release(board_info_entry* entry) {
  if (entry == nullptr) return;
  free(entry->data);
  free(entry);
}

// Erases the slot's place and programs what is given. The sizes are no whole sectors: the erase
// refuses them, and so the write does.
int replace(uint32_t address, uint32_t erased, const uint32_t* words, int size) {
  if (zvgSpiErase(address, erased) != 0) return -1;
  return zvgSpiProgram(words, address, size) == 0 ? 0 : -1;
}

// A header and its data, the rest of the slot zero.
int write_slot(uint32_t address, uint32_t erased, const board_info_entry& header, const void* bytes,
               uint32_t size) {
  uint32_t image[slot_size / 4] = {};
  memcpy(image, &header, header_size);
  memcpy(reinterpret_cast<uint8_t*>(image) + header_size, bytes, size);
  return replace(address, erased, image, sizeof image);
}

// The chain's entry for an EDID of the output, or else its last one; null when it is empty.
board_info_entry* find(uint32_t output) {
  board_info_entry* entry = nullptr;
  for (int i = 0; i < most_entries; ++i) {
    board_info_entry* const next = board_info_image_next(entry);
    if (next == nullptr) break;
    release(entry);
    entry = next;
    if (header_of(*entry).is_edid_of(output)) break;
  }
  return entry;
}

// A new entry, built in the memory of a header that is done with.
int add_edid(board_info_entry* header, uint32_t address, uint32_t output, const uint16_t* bytes,
             uint32_t size) {
  memset(header, 0, header_size);
  put_header(edid_header(static_cast<uint16_t>(output), reinterpret_cast<const uint8_t*>(bytes),
                         static_cast<uint16_t>(size)),
             header_bytes(header));
  return write_slot(address, header_size, *header, bytes, size);
}

// Behind the chain's last entry, which learns of it first.
int append_edid(board_info_entry* last, uint32_t output, const uint16_t* bytes, uint32_t size) {
  // The slot behind the last one, as an offset from the area's begin: the low half of the last
  // one's address, for every slot that there is.
  last->next = static_cast<uint16_t>(last->address);
  uint32_t header[header_size / 4];
  memcpy(header, last, sizeof header);
  if (replace(last->address, header_size, header, sizeof header) != 0) return -1;
  return add_edid(last, last->address + slot_size, output, bytes, size);
}

// In the place of the one that the output has.
int change_edid(board_info_entry* entry, const uint16_t* bytes, uint32_t size) {
  entry->checksum =
      negated_sum(reinterpret_cast<const uint8_t*>(bytes), size / 2);  // the size stays what it was
  return write_slot(entry->address, slot_size, *entry, bytes, size);
}

}  // namespace

struct board_info_entry* board_info_image_next(const struct board_info_entry* previous) {
  const std::optional<uint32_t> address =
      previous == nullptr ? area_begin : header_of(*previous).next_address();
  if (!address) return nullptr;
  auto* const entry = static_cast<board_info_entry*>(allocate(sizeof(board_info_entry)));
  if (entry == nullptr) {
    puts("Failed to malloc header.");
    return nullptr;
  }
  if (zvgSpiReadBuffer(reinterpret_cast<uint32_t*>(entry), *address, header_size) != 0 ||
      !header_of(*entry).is_entry()) {
    free(entry);
    return nullptr;
  }
  const uint32_t size = entry->data_size;
  entry->address = *address;
  // With a word to spare: an odd size is summed up one byte further.
  entry->data = static_cast<uint8_t*>(allocate(size + 4));
  if (entry->data == nullptr) {
    puts("Failed to malloc data.");
    free(entry);
    return nullptr;
  }
  auto* const words = reinterpret_cast<uint32_t*>(entry->data);
  if (zvgSpiReadBuffer(words, *address + entry->data_offset, static_cast<int>(size)) != 0 ||
      !header_of(*entry).matches(entry->data)) {
    release(entry);
    return nullptr;
  }
  return entry;
}

int board_info_image_handle(struct board_info_edid_request* target) {
  // The entries stay allocated: the library's contract.
  const board_info_entry* entry = nullptr;
  for (int i = 0; i < most_entries; ++i) {
    entry = board_info_image_next(entry);
    if (entry == nullptr) break;
    if (header_of(*entry).is_edid_of(target->output) &&
        (entry->data_size == 128 || entry->data_size == 256)) {
      memcpy(target->edid, entry->data, entry->data_size);
    }
  }
  return 0;
}

int board_info_image_write_edid(uint32_t output, const uint16_t* data, uint32_t size) {
  if (size > most_slot_data) return -1;
  board_info_entry* entry = find(output);
  int result = -1;
  if (entry == nullptr) {
    entry = static_cast<board_info_entry*>(allocate(sizeof(board_info_entry)));
    if (entry == nullptr) {
      puts("Failed to malloc header h1.");
      return -1;
    }
    result = add_edid(entry, area_begin, output, data, size);
  } else if (in_area(entry->address)) {
    result = header_of(*entry).is_edid_of(output) ? change_edid(entry, data, size)
                                                  : append_edid(entry, output, data, size);
  }
  release(entry);
  return result;
}
