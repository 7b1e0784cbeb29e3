// A model of something on the board: how it declares itself.
#ifndef ZVGSIM_BOARD_MODEL_H
#define ZVGSIM_BOARD_MODEL_H

namespace zvgsim {

class Board;
class FileTable;
struct BoardConfig;
struct FaultConfig;

// Whatever a model does not have is null. Models are read, and placed, one after another in the
// order of their list.
struct Model {
  // Reads the model's sections of a board file.
  void (*read)(FileTable& root, BoardConfig& config) = nullptr;
  // Reads its part of the section [faults].
  void (*read_faults)(FileTable& faults, FaultConfig& config) = nullptr;
  // Puts it on a board, as it is at power-up.
  void (*place)(Board& board) = nullptr;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_MODEL_H
