#include "records/record_texts.h"

#include "RecordStore/record_store.h"

namespace texprobe {

std::optional<RecordTexts> read_record_texts(CFStringRef appID, const std::string& prefix) {
    const char* application = CFStringGetCStringPtr(appID, kCFStringEncodingASCII);
    // As of a system whose build has no name in ASCII: nothing can be recorded there.
    if (!application) return std::nullopt;
    return platform::RecordStore::of_process().read_texts(application, prefix);
}

}  // namespace texprobe
