// Feeds log files to the reader of wylogctl: of any format, and torn in any way.
//
// The first byte is the size of the pieces in which the file arrives. Whatever it is, the records
// are the same as when the file arrives whole; together they are the file; and each can be taken
// apart.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "tools/wylogctl/RecordParser.h"

namespace {

using fuzz::Require;

class MemorySource : public CWyByteSource {
 public:
  explicit MemorySource(std::string_view text) : m_rest(text) {}
  ssize_t Read(char* pBuffer, std::size_t uSize) override {
    const std::size_t uTaken = m_rest.copy(pBuffer, uSize);
    m_rest.remove_prefix(uTaken);
    return static_cast<ssize_t>(uTaken);
  }

 private:
  std::string_view m_rest;
};

struct Seen {
  std::string strText;
  std::string strValues;
  unsigned int uFlags;
  bool operator==(const Seen&) const = default;
};

std::vector<Seen> ReadAll(std::string_view file, std::size_t uChunk) {
  MemorySource source(file);
  CWyRecordReader reader(source, 0, uChunk);
  CWyRecordParser parser;
  WyRecord record;
  std::vector<Seen> all;
  std::uint64_t uOffset = 0;
  for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw);) {
    Require(raw.uOffset == uOffset);
    uOffset += raw.text.size();
    parser.Parse(raw, record);
    Seen seen{std::string(raw.text), std::string(record.text),
              record.uFlags | WyInspectBytes(record)};
    for (const WyFieldValue& field : record.fields) seen.strValues.append(field.value).append("\n");
    all.push_back(std::move(seen));
  }
  Require(uOffset == file.size());
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const std::string_view input = fuzz::Text(pData, uSize);
  if (input.empty()) return 0;
  const std::string_view file = input.substr(1);
  const std::size_t uChunk = static_cast<unsigned char>(input[0]) % 64 + 1;
  const std::vector<Seen> whole = ReadAll(file, std::max<std::size_t>(file.size(), 64));
  Require(ReadAll(file, uChunk) == whole);

  std::string strJoined;
  for (const Seen& seen : whole) strJoined += seen.strText;
  Require(strJoined == file);
  return 0;
}
