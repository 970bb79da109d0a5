// orders.cpp: both libraries from C++. Whatever a call hands over is held by a unique_ptr that
// gives it back by the call that its header names.
//
//     orders orders.properties
#include <velguid/guid.h>
#include <velguid/pmx.h>
#include <velguid/rak.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace {

template <auto give_back>
struct GiveBack {
    template <typename T>
    void operator()(T* held) const noexcept {
        give_back(held);
    }
};
using Logger = std::unique_ptr<PmxObject, GiveBack<PmxReleaseObject>>;
using ToolkitText = std::unique_ptr<char, GiveBack<RakMemoryFree>>;
using GuidText = std::unique_ptr<char, GiveBack<std::free>>;

// Open as long as it lives. What is got from the toolkit comes after it, and so goes before it.
class Toolkit {
  public:
    explicit Toolkit(const char* properties) : open_(PmxOpenToolkit(properties) != 0) {}
    ~Toolkit() {
        if (open_) PmxCloseToolkit();
    }
    Toolkit(const Toolkit&) = delete;
    Toolkit& operator=(const Toolkit&) = delete;

    explicit operator bool() const { return open_; }

  private:
    bool open_;
};

// The GUID of an order: that of its number within our shop, on each host and each day the same.
std::optional<std::string> order_guid(std::string_view number) {
    unsigned long status = 0;
    guid_record shop{};
    guid_from_string("3c0a917e-5d1f-11d9-8a2b-000c294f1a33", &shop, &status);
    if (status != 0) return std::nullopt;

    guid_record order{};
    guid_create_from_name(&order, number.data(), static_cast<uint32_t>(number.size()), &status,
                          shop);
    char* text = nullptr;
    guid_to_string(&order, &text, &status);
    const GuidText owner(text);
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: orders PROPERTIES\n";
        return 2;
    }
    const Toolkit toolkit(argv[1]);
    if (!toolkit) return 1;  // it has said why
    const Logger logger(PmxGetObject("orders", nullptr));

    for (const char* const number : {"A-1001", "A-1002", "A-1001"}) {
        const std::optional<std::string> guid = order_guid(number);
        if (!guid) return 1;
        PmxLogInfo(logger.get(), nullptr, 0, 0, "ORDSV0001I Order %1$s is %2$s.", PMX_STRING,
                   number, PMX_STRING, guid->c_str(), PMX_END);
    }
    if (const ToolkitText name{PmxGetObjectName(logger.get())}) {
        std::cout << "Logged by " << name.get() << ".\n";
    }
}
