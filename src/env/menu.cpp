// Walks the menu by the words of a command line and carries out what it leads to.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <span>

#include "env/profile_script.h"
#include "util_zvg.h"

namespace zvg::env {

namespace {

using Node = zvgkit_menu_node;

constexpr char delimiters[] = " ,\t\r\n";
constexpr int64_t failure = -1;

// The one node below which a word is no choice, but the number of a core.
constexpr char independent[] = "INDEPENDENT";
constexpr int core_word = 3;

// Actions of the first level that set no variable.
constexpr uint32_t action_level = 1;
constexpr uint32_t list_number = 4;
constexpr uint32_t close_number = 5;

// The words lead no further than to a question.
constexpr int question_words = 2;

std::span<const Node> children(const Node& node) {
  return {node.children, static_cast<size_t>(node.children != nullptr ? node.child_count : 0)};
}

bool is_independent(const Node& node) {
  return strcmp(node.label, independent) == 0;
}

bool is_action(const Node& node, uint32_t number) {
  return node.level == action_level && node.number == number;
}

void to_upper_case(char* word) {
  for (; *word != '\0'; ++word) {
    if (*word >= 'a' && *word <= 'z') *word = static_cast<char>(*word - 'a' + 'A');
  }
}

const Node* find_child(const Node& node, const char* word) {
  for (const Node& child : children(node)) {
    if (strcmp(word, child.label) == 0 || strtol(word, nullptr, 10) == child.number ||
        (child.alias != nullptr && strcmp(word, child.alias) == 0)) {
      return &child;
    }
  }
  return nullptr;
}

// Where the words of a command line led.
struct Way {
  const Node* node = Func;  // null after a wrong word
  int words = 0;
  const char* core = nullptr;
};

Way walk(char* line) {
  Way way;
  char* rest = nullptr;
  strtok_r(line, delimiters, &rest);  // the command's own name
  while (char* const word = strtok_r(nullptr, delimiters, &rest)) {
    ++way.words;
    if (is_independent(*way.node) && way.words == core_word) {
      way.core = word;
      return way;
    }
    to_upper_case(word);
    way.node = find_child(*way.node, word);
    if (way.node == nullptr) return way;
  }
  return way;
}

void ask(const Node& node) {
  puts(node.prompt);
  if (is_independent(node)) return;  // the answer is a number, not a choice
  for (const Node& child : children(node)) printf("%d.%s  ", child.number, child.label);
  putchar('\n');
}

}  // namespace

}  // namespace zvg::env

int64_t zvgkit_func(char* line) {
  using namespace zvg::env;
  const Way way = walk(line);
  if (way.node == nullptr) {
    puts("wrong choose!");
    return failure;
  }
  const Node& node = *way.node;
  if (way.core == nullptr && !children(node).empty() && way.words <= question_words) {
    ask(node);
    return 0;
  }
  if (is_action(node, list_number)) return list() ? 0 : failure;
  const bool closing = is_action(node, close_number);
  const Node& setting = way.core != nullptr ? Indep_child[0] : node;
  const char* const name = closing ? "0" : setting.env;
  // A value that is cut off here is too long for the script as well, where that is said.
  constexpr size_t room = 2;  // an edit may lengthen the text
  char value[script_capacity + room];
  snprintf(value, script_capacity, "%s%s", closing ? "0" : setting.value,
           way.core != nullptr ? way.core : "");
  if (way.core != nullptr) {
    printf("Core Function - INDEPENDENT for %s is open!\n", way.core);
  } else if (!closing) {
    printf("Core Function - %s is open!\n", node.label);
  }
  if (*name == '\0' || *value == '\0') {
    puts("set error");
    return failure;
  }
  if (!set(name, value)) return failure;
  puts("****New shell takes effect!****");
  return 0;
}
