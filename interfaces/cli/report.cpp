#include "commands.h"
namespace tarnix::cli { std::string reportPage(const Setup&, const Places&) { return ""; } }
