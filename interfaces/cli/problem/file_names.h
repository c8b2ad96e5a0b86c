// Names of files in a problem file: what they mean, and where the files are.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarnix::cli {

// A name as the user writes it without a shell: {{dir}}/x, which is x, ~/x, $NAME/x and ${NAME}/x.
// A reason where it cannot be one: files are looked up once, not for every run.
struct FileName {
  std::string name;    // absolute, or relative to the problem's directory
  std::string reason;  // why there is none
};
FileName fileName(const std::string& text);

bool insideDirectory(const std::string& name);

// Of a name without a slash, in PATH; empty when it is not there.
std::filesystem::path searchProgram(const std::string& name);

// Files and folders that a pattern of the shell matches, in the order of their names.
std::vector<std::filesystem::path> matching(const std::filesystem::path& directory,
                                            const std::string& pattern);

// {{ dir }} written as {{dir}}.
std::string withPlainDir(std::string text);

// What a shell would replace in a word, and a list of words does not: ~/ or the name of a variable
// of the environment; empty when there is nothing of that kind.
std::string shellPart(const std::string& word);

}  // namespace tarnix::cli
