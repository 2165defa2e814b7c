#include "writers/ByteCounter.h"

namespace om1 {

ByteCounter::int_type ByteCounter::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    if (!target_ ||
        traits_type::eq_int_type(target_->sputc(traits_type::to_char_type(c)), traits_type::eof()))
        return traits_type::eof();
    ++count_;
    return c;
}

std::streamsize ByteCounter::xsputn(const char* s, std::streamsize n) {
    const std::streamsize put = target_ ? target_->sputn(s, n) : 0;
    count_ += put;
    return put;
}

int ByteCounter::sync() {
    return target_ ? target_->pubsync() : -1;
}

}  // namespace om1
