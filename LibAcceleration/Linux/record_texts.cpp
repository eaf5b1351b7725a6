#include "records/record_texts.h"

#include "RecordStore/record_store.h"

namespace texprobe {

std::optional<RecordTexts> read_record_texts(CFStringRef appID, const std::string& prefix) {
    const char* application = CFStringGetCStringPtr(appID, kCFStringEncodingASCII);
    return platform::RecordStore::of_process().read_texts(application, prefix);
}

}  // namespace texprobe
