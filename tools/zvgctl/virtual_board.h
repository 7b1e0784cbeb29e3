// The virtual board: a program that runs this one with a board behind its device nodes.
#ifndef ZVGCTL_VIRTUAL_BOARD_H
#define ZVGCTL_VIRTUAL_BOARD_H

#include <string>
#include <vector>

namespace zvgctl {

// Set in the environment of a zvgctl that runs on a virtual board, to the board's name.
inline constexpr char virtual_board_variable[] = "ZVGCTL_VIRTUAL_BOARD";

// Whether this runs on one. Throws a Failure when it should and the board is not there.
bool on_virtual_board();
std::string virtual_board_name();
// The board's file, when this runs on a virtual board.
std::string virtual_board_file();

// What only this board has: the file of its flash, or this process. Empty for a real one.
std::string virtual_board_identity();
// The names of the ready boards, in order.
std::vector<std::string> ready_boards();

// Whether the word names a board: a .toml file that is there, or one of the ready boards.
bool is_board(const std::string& word);

// Replaces this process by the virtual board running zvgctl with those arguments. Throws a Failure
// when the virtual board's program is not to be found.
[[noreturn]] void run_on_virtual_board(const std::string& board,
                                       const std::vector<std::string>& arguments);

}  // namespace zvgctl

#endif  // ZVGCTL_VIRTUAL_BOARD_H
