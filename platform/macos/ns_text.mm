#import "platform/macos/ns_text.h"

namespace kelvane {

std::optional<std::string> textOf(NSString* string) {
    if (string == nil) return std::nullopt;
    NSData* bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes == nil) return std::nullopt;
    return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

NSString* nsString(std::string_view text) {
    return [[NSString alloc] initWithBytes:text.data()
                                    length:text.size()
                                  encoding:NSUTF8StringEncoding];
}

} // namespace kelvane
