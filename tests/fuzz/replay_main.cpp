// Runs a fuzz target without a fuzzer: every file of a corpus, then mutations of them that are the
// same in every run.
//
//   <program> <corpus folder> <mutations>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "fuzz/FuzzInput.h"

namespace {

void Run(const std::string& strInput) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(strInput.data()), strInput.size());
}

std::vector<std::string> ReadCorpus(const char* pszFolder) {
  const std::filesystem::directory_iterator folder(pszFolder);
  std::vector<std::filesystem::path> paths(begin(folder), end(folder));
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> inputs;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return inputs;
}

class Mutator {
 public:
  explicit Mutator(const std::vector<std::string>& corpus) : m_corpus(corpus) {}

  std::string Next() {
    std::string strInput = m_corpus[Below(m_corpus.size())];
    for (size_t uChanges = 1 + Below(4); uChanges > 0; --uChanges) Change(strInput);
    return strInput;
  }

 private:
  // The distributions of the standard library differ between implementations; this does not.
  size_t Below(size_t uBound) { return m_random() % uBound; }

  void Change(std::string& strInput) {
    const size_t uAt = Below(strInput.size() + 1);
    const std::string& strOther = m_corpus[Below(m_corpus.size())];
    const size_t uOtherAt = Below(strOther.size() + 1);
    switch (Below(5)) {
      case 0:
        strInput.erase(uAt, 1 + Below(16));
        break;
      case 1:
        strInput.insert(uAt, 1 + Below(3), "\0\r\n\t :,#=!@*%\xff"[Below(14)]);
        break;
      case 2:
        strInput.insert(uAt, strOther.substr(uOtherAt, 1 + Below(64)));
        break;
      case 3:
        strInput.insert(uAt, Below(m_random() % 16 == 0 ? 10000 : 100), 'x');
        break;
      default:
        if (uAt < strInput.size()) strInput[uAt] = static_cast<char>(Below(256));
    }
  }

  const std::vector<std::string>& m_corpus;
  std::mt19937 m_random{20261116};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  const auto corpus = ReadCorpus(argv[1]);
  for (const std::string& strInput : corpus) Run(strInput);
  Mutator mutator(corpus);
  for (int i = std::atoi(argv[2]); i > 0; --i) Run(mutator.Next());
  std::printf("%zu files of %s\n", corpus.size(), argv[1]);
  return corpus.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
