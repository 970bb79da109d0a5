// What no virtual machine can be made to do to the native methods, and what it cannot see: elements
// that cannot be had, when they are taken and given back, a host without an address. The rest is
// shown by a real one (system/java_test.py).
#include <com_velmar_guid_HostGuid.h>
#include <com_velmar_guid_Platform.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "guid/guid.h"
#include "guid/vel_guid.h"
#include "tests/support/platform_seams.h"
#include "tests/support/scratch_host.h"

namespace {

bool no_address;

bool is_stored() { return access("/etc/VELGUID", F_OK) == 0; }

// A virtual machine with one array, of ints or of bytes.
struct Vm {
    jint ints[16] = {};
    jbyte bytes[6] = {};
    bool out_of_memory = false;
    bool exception_pending = false;
    int taken = 0;
    int given_back = 0;
    bool stored_when_given_back = false;
};
Vm vm;

template <class Element>
Element* take(Element* elements) {
    vm.exception_pending = vm.out_of_memory;
    return vm.out_of_memory ? nullptr : (++vm.taken, elements);
}

void give_back(jint mode) {
    EXPECT_EQ(mode, 0) << "copied back and freed";
    ++vm.given_back;
    vm.stored_when_given_back = is_stored();
}

constexpr JNINativeInterface_ interface_of_vm() {
    JNINativeInterface_ calls{};
    calls.ExceptionClear = [](JNIEnv*) { vm.exception_pending = false; };
    calls.GetArrayLength = [](JNIEnv*, jarray array) -> jsize {
        return static_cast<void*>(array) == vm.ints ? 16 : 6;
    };
    calls.GetIntArrayElements = [](JNIEnv*, jintArray, jboolean*) { return take(vm.ints); };
    calls.GetByteArrayElements = [](JNIEnv*, jbyteArray, jboolean*) { return take(vm.bytes); };
    calls.ReleaseIntArrayElements = [](JNIEnv*, jintArray, jint*, jint mode) { give_back(mode); };
    calls.ReleaseByteArrayElements = [](JNIEnv*, jbyteArray, jbyte*, jint mode) {
        give_back(mode);
    };
    return calls;
}

constexpr JNINativeInterface_ kInterface = interface_of_vm();

class JniBindings : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        static const bool entered = (enter_scratch_host(), true);
        ASSERT_TRUE(entered);
    }
    JniBindings() {
        vm = {};
        no_address = false;
        unlink("/etc/VELGUID");
    }
    ~JniBindings() override {
        EXPECT_EQ(vm.taken, vm.given_back);
        EXPECT_FALSE(vm.exception_pending);
    }

    jint generate() { return Java_com_velmar_guid_HostGuid_generateGuid(&env_, nullptr, ints_); }
    jint write() { return Java_com_velmar_guid_HostGuid_writeGuid(&env_, nullptr, ints_); }
    jint read() { return Java_com_velmar_guid_HostGuid_readGuid(&env_, nullptr, ints_); }
    jint address() {
        return Java_com_velmar_guid_Platform_getIEEE802Address(&env_, nullptr, bytes_);
    }

    JNIEnv env_{&kInterface};
    jintArray ints_ = static_cast<jintArray>(static_cast<void*>(vm.ints));
    jbyteArray bytes_ = static_cast<jbyteArray>(static_cast<void*>(vm.bytes));
    seams::Restored restored_;
};

TEST_F(JniBindings, GiveTheElementsBackBeforeTheFileIsWritten) {
    vm.ints[15] = 1;
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(vm.given_back, 1);
    EXPECT_FALSE(vm.stored_when_given_back);
    EXPECT_TRUE(is_stored());
    EXPECT_EQ(read(), 0);
}

TEST_F(JniBindings, TakeNoElementsWhenTheLibraryFails) {
    EXPECT_EQ(read(), guid_s_not_found);
    seams::now.open_socket = [] { return -1; };
    EXPECT_EQ(generate(), -1);
    EXPECT_EQ(vm.taken, 0);
}

TEST_F(JniBindings, AnswerAndClearTheErrorWhenElementsCannotBeHad) {
    EXPECT_EQ(vel_guid_write(reinterpret_cast<const uint8_t*>("0123456789abcdef")), 0);
    vm.out_of_memory = true;
    EXPECT_EQ(read(), guid_s_no_memory);
    EXPECT_FALSE(vm.exception_pending);
    const std::vector<seams::Interface> card{{"eth0", 1, "abcdef"}};
    seams::now.interfaces = &card;
    EXPECT_EQ(generate(), guid_s_no_memory);
    EXPECT_EQ(address(), -1);
    unlink("/etc/VELGUID");
    EXPECT_EQ(write(), guid_s_no_memory);
    EXPECT_FALSE(is_stored());
}

TEST_F(JniBindings, TellThatThereIsNoAddress) {
    no_address = true;
    testing::internal::CaptureStdout();
    EXPECT_EQ(address(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error : status is guid_s_no_address.\n");
    EXPECT_EQ(vm.taken, 0);
}

}  // namespace

// The library's own search answers otherwise, so this status has to be made.
extern "C" {
void __real_guid_get_address(uint8_t address[6], unsigned long* status);
void __wrap_guid_get_address(uint8_t address[6], unsigned long* status) {
    if (!no_address) return __real_guid_get_address(address, status);
    *status = guid_s_no_address;
}
}
