// The native methods of com.velmar.guid. No method leaves an exception pending, or elements taken.
#include <com_velmar_guid_HostGuid.h>
#include <com_velmar_guid_Platform.h>
#include <jni.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "guid/generator.h"
#include "guid/vel_guid.h"

namespace vel::guid {
namespace {

static_assert(com_velmar_guid_HostGuid_GUID_S_BAD_VARIANT == guid_s_bad_variant);
static_assert(com_velmar_guid_HostGuid_GUID_S_NO_ADDRESS == guid_s_no_address);
static_assert(com_velmar_guid_HostGuid_GUID_S_INVALID_STRING == guid_s_invalid_string);
static_assert(com_velmar_guid_HostGuid_GUID_S_NO_MEMORY == guid_s_no_memory);
static_assert(com_velmar_guid_HostGuid_GUID_S_NOT_FOUND == guid_s_not_found);
static_assert(com_velmar_guid_HostGuid_GUID_S_WRITE_FAILED == guid_s_write_failed);

constexpr jint kSuccess = com_velmar_guid_HostGuid_SUCCESS;
constexpr jint kRefused = com_velmar_guid_HostGuid_REFUSED;
constexpr jint kGuidBytes = com_velmar_guid_HostGuid_LENGTH;
constexpr jint kFailed = -1;  // of getIEEE802Address, which knows no other failure
constexpr jint kAddressBytes = com_velmar_guid_Platform_ADDRESS_LENGTH;

// An array's elements, taken from the virtual machine; they go back with what was changed. Null
// when there was no memory for them.
template <class Array, class Element, Element* (JNIEnv::*Take)(Array, jboolean*),
          void (JNIEnv::*GiveBack)(Array, Element*, jint)>
class Elements {
  public:
    Elements(JNIEnv* env, Array array)
        : env_(env), array_(array), elements_((env->*Take)(array, nullptr)) {
        if (!elements_) env->ExceptionClear();
    }
    ~Elements() {
        if (elements_) (env_->*GiveBack)(array_, elements_, 0);
    }
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;

    Element* get() const { return elements_; }

  private:
    JNIEnv* env_;
    Array array_;
    Element* elements_;
};

using IntElements =
    Elements<jintArray, jint, &JNIEnv::GetIntArrayElements, &JNIEnv::ReleaseIntArrayElements>;
using ByteElements =
    Elements<jbyteArray, jbyte, &JNIEnv::GetByteArrayElements, &JNIEnv::ReleaseByteArrayElements>;

bool has_room(JNIEnv* env, jintArray guid) {
    return guid && env->GetArrayLength(guid) >= kGuidBytes;
}

// Puts what a call of the library gives into the array; touches it on success only.
jint fill(JNIEnv* env, jintArray guid, int32_t (*call)(uint8_t*)) {
    if (!has_room(env, guid)) return kRefused;
    uint8_t bytes[kGuidBytes] = {};
    if (const int32_t failure = call(bytes)) return failure;
    const IntElements elements(env, guid);
    if (!elements.get()) return guid_s_no_memory;
    std::copy(std::begin(bytes), std::end(bytes), elements.get());
    return kSuccess;
}

}  // namespace
}  // namespace vel::guid

using namespace vel::guid;

jint Java_com_velmar_guid_HostGuid_generateGuid(JNIEnv* env, jclass, jintArray guid) {
    return fill(env, guid, vel_guid_generate);
}

jint Java_com_velmar_guid_HostGuid_readGuid(JNIEnv* env, jclass, jintArray guid) {
    return fill(env, guid, vel_guid_read);
}

jint Java_com_velmar_guid_HostGuid_writeGuid(JNIEnv* env, jclass, jintArray guid) {
    if (!has_room(env, guid)) return kRefused;
    uint8_t bytes[kGuidBytes];
    {
        const IntElements elements(env, guid);
        if (!elements.get()) return guid_s_no_memory;
        std::transform(elements.get(), elements.get() + kGuidBytes, bytes,
                       [](jint element) { return static_cast<uint8_t>(element & 0xFF); });
    }
    return vel_guid_write(bytes);
}

jlong Java_com_velmar_guid_Platform_getOSProcessId(JNIEnv*, jclass) {
    return static_cast<jlong>(uuid__get_os_pid());
}

jint Java_com_velmar_guid_Platform_getIEEE802Address(JNIEnv* env, jclass, jbyteArray address) {
    if (!address) return kFailed;
    uint8_t found[kAddressBytes];
    Status status = 0;
    guid_get_address(found, &status);
    if (status == guid_s_no_address) {
        puts("Error : status is guid_s_no_address.");
        fflush(stdout);  // the virtual machine's own output does not wait for it
        return kFailed;
    }
    // Kept for programs that know one failure only: any other counts as done, with the zeros that
    // the library leaves.
    const ByteElements elements(env, address);
    if (!elements.get()) return kFailed;
    std::copy_n(found, std::min(env->GetArrayLength(address), kAddressBytes), elements.get());
    return kSuccess;
}
