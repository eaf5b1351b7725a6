#include "run/survey_records.h"

#include <sys/sysctl.h>

#include <cstdio>
#include <vector>

#include "table/record_keys.h"

namespace texprobe::survey {

namespace {

OwnedString owned(const std::string& text) {
    return {CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingASCII), CFRelease};
}

std::string system_build() {
    std::size_t size = 0;
    if (sysctlbyname("kern.osversion", nullptr, &size, nullptr, 0) != 0 || size == 0) return "";
    std::vector<char> text(size);
    sysctlbyname("kern.osversion", text.data(), &size, nullptr, 0);
    return text.data();
}

std::string set_name(int rendererID) {
    char id[16];
    std::snprintf(id, sizeof id, "%x", static_cast<unsigned>(rendererID));
    return std::string(kDomain) + '.' + id + '.' + system_build();
}

}  // namespace

SurveyRecords::SurveyRecords(int rendererID)
    : name_(set_name(rendererID)), application_(owned(name_)) {}

std::optional<std::string> SurveyRecords::read(const std::string& key) const {
    const CFTypeRef value = CFPreferencesCopyAppValue(owned(key).get(), application_.get());
    if (!value) return std::nullopt;
    std::optional<std::string> text;
    if (CFGetTypeID(value) == CFStringGetTypeID()) {
        const auto string = static_cast<CFStringRef>(value);
        std::vector<char> buffer(static_cast<std::size_t>(CFStringGetLength(string)) + 1);
        if (CFStringGetCString(string, buffer.data(), static_cast<CFIndex>(buffer.size()),
                               kCFStringEncodingASCII)) {
            text = buffer.data();
        }
    }
    CFRelease(value);
    return text;
}

void SurveyRecords::write(const std::string& key, const std::optional<std::string>& text) {
    const OwnedString value = owned(text.value_or(""));
    CFPreferencesSetAppValue(owned(key).get(), text ? value.get() : nullptr, application_.get());
}

std::optional<std::string> SurveyRecords::profile(Profile profile) const {
    return read(key_of(profile));
}

std::optional<std::string> SurveyRecords::renderer(Profile profile) const {
    return read(renderer_key_of(profile));
}

void SurveyRecords::set_profile(Profile profile, const std::optional<std::string>& text) {
    write(key_of(profile), text);
}

void SurveyRecords::set_strings(Profile profile, const std::string& vendor,
                                const std::string& renderer) {
    write(vendor_key_of(profile), vendor);
    write(renderer_key_of(profile), renderer);
}

std::optional<FormatRecord> SurveyRecords::format(Profile profile, const Format& format) const {
    const auto text = read(key_of(profile, format));
    return text ? read_record(*text) : std::nullopt;
}

void SurveyRecords::set_format(Profile profile, const Format& format, const FormatRecord& record) {
    write(key_of(profile, format), write_record(record));
}

bool SurveyRecords::synchronize() {
    return CFPreferencesAppSynchronize(application_.get()) != 0;
}

}  // namespace texprobe::survey
