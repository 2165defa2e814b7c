// ByteCounter: a stream buffer that passes everything on to another one and
// counts the bytes, so that a writer can stream a format that records its
// own offsets (the PDF cross-reference table) without holding the file.
#pragma once

#include <streambuf>

namespace om1 {

class ByteCounter : public std::streambuf {
public:
    explicit ByteCounter(std::streambuf* target) : target_(target) {}
    // Bytes accepted by the target so far.
    long long count() const { return count_; }

protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int sync() override;

private:
    std::streambuf* target_;
    long long count_ = 0;
};

}  // namespace om1
