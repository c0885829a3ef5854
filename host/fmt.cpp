// The formatting library, compiled once: everywhere else its declarations are enough. What it keeps out of its headers
// are these definitions of its templates.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API auto thousands_sep_impl<char>(locale_ref) -> thousands_sep_result<char>;
template FMT_API auto decimal_point_impl(locale_ref) -> char;
template FMT_API void buffer<char>::append(const char*, const char*);
template FMT_API void vformat_to(buffer<char>&, string_view, basic_format_args<FMT_BUFFER_CONTEXT(char)>,
                                 locale_ref);

}  // namespace detail
FMT_END_NAMESPACE
