// Any sequence of calls on a map, a group or a list of texts: its elements, their order, and where
// walks that are under way go on are those of a model.
#include "log/collections.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/target.h"

// Some names are longer than a word, one is empty.
static std::string name_of(size_t n) {
    if (n == 0) return "";
    return (n % 3 == 0 ? "com.example.package.logger" : "") + std::to_string(n);
}

// Keeps to an order, or to none when disorder is not 0.
static uint64_t disorder = 0;
static int compare_texts(const void* a, const void* b) {
    if (disorder == 0) return strcmp(*static_cast<char* const*>(a), *static_cast<char* const*>(b));
    disorder = disorder * 6364136223846793005 + 1442695040888963407;
    return static_cast<int>(disorder >> 62) - 1;
}

template <class C, class Shape>
struct Subject {
    using Link = typename C::Link;
    static constexpr bool kMap = requires(Link * link) { link->key; };
    static constexpr bool kList = requires { Shape::sort; };

    // Numbered as they are added, which is the order of the chain.
    struct Element {
        uint64_t number;
        std::string text, value;
    };
    struct Visit {
        std::unique_ptr<vel::log::Walk<Link>> walk;
        uint64_t next;  // the least number that it has yet to meet
        bool over;      // nothing was left for it to meet
    };

    C* chain = Shape::alloc();
    std::vector<Element> model{};
    std::array<Visit, 4> visits{};
    uint64_t added = 0;

    Link* link_at(size_t n) const {
        Link* link = Shape::begin(chain);
        for (; n > 0; --n) link = Shape::next(link);
        return link;
    }
    // Where the model has a text, and the chain must have it.
    size_t find(const std::string& text) const {
        size_t at = 0;
        while (at < model.size() && model[at].text != text) ++at;
        require(Shape::find(chain, text.c_str()) == link_at(at), "found");
        return at;
    }

    void add(const std::string& text) {
        const size_t at = find(text);
        const bool absent = at == model.size();
        const std::string value = std::to_string(++added);
        if constexpr (kMap) {
            require(Shape::put(chain, text.c_str(), value.c_str()) == 1, "put");
            if (!absent) model[at].value = value;
        } else if constexpr (kList) {
            require(Shape::append(chain, text.c_str()) == 1, "appended");
        } else {
            require(Shape::add(chain, text.c_str()) == absent, "added when it is not there");
        }
        if (absent || kList) model.push_back({added, text, value});
    }

    void remove(size_t at, bool by_link) {
        const bool present = at < model.size();
        Link* const link = link_at(at);
        if constexpr (kMap) {
            Shape::rem(chain, present ? link->key : "none");
        } else if (by_link) {
            Link* const following = Shape::next(link);
            require(Shape::rem_at(link) == following, "the next one follows");
        } else if constexpr (kList) {
            require(Shape::rem(chain, link) == present, "the link is removed");
        } else {
            require(Shape::rem(chain, present ? link->item : "none") == present, "removed");
        }
        if (present) model.erase(model.begin() + static_cast<ptrdiff_t>(at));
    }

    // Goes on with a copy. What walks the original ends.
    void copy() {
        if constexpr (kMap || kList) {
            C* const fresh = Shape::copy(chain);
            Shape::free(std::exchange(chain, fresh));
            for (Visit& visit : visits) visit.over = true;
        }
    }

    // Elements change places; links, and so numbers, stay.
    void sort(uint64_t seed) {
        if constexpr (kList) {
            std::vector<std::string> before, after;
            disorder = seed;
            Shape::sort(chain, compare_texts);
            for (size_t i = 0; i < model.size(); ++i) {
                after.emplace_back(link_at(i)->item);
                before.push_back(std::exchange(model[i].text, after.back()));
            }
            std::sort(before.begin(), before.end());
            if (seed != 0) std::sort(after.begin(), after.end());
            require(before == after, "sorted, and all there");
        }
    }

    void visit(Visit& visit, bool anew) {
        if (anew || visit.walk == nullptr) {
            visit = {std::make_unique<vel::log::Walk<Link>>(chain), 0, model.empty()};
        }
        size_t at = 0;
        while (!visit.over && model[at].number < visit.next) ++at;
        require(visit.walk->next() == (visit.over ? nullptr : link_at(at)), "the walk goes on");
        if (!visit.over) visit.next = model[at].number + 1;
    }

    void check() {
        for (Visit& visit : visits) visit.over |= model.empty() || model.back().number < visit.next;
        Link* link = Shape::begin(chain);
        Link* previous = nullptr;
        for (const Element& element : model) {
            require(link != nullptr && link->previous == previous && link->owner == chain,
                    "linked");
            if constexpr (kMap) {
                require(element.text == link->key && element.value == link->value, "the entry");
            } else {
                require(element.text == link->item, "the text");
            }
            const char* const text = element.text.c_str();
            require(kList || chain->slots == nullptr || Shape::find(chain, text) == link,
                    "indexed");
            previous = std::exchange(link, link->next);
        }
        require(link == nullptr && chain->tail == previous, "the tail");
        require(chain->count == static_cast<int32_t>(model.size()), "counted");
    }

    void act(Input& input) {
        const unsigned call = input.byte();
        const size_t n = input.number(2) % 1024;
        const size_t times = call < 0x80 ? 1 : input.byte();  // many at once
        const size_t stride = call / 8 % 4 + 1;
        for (size_t i = 0; i < times && call % 8 < 2; ++i) add(name_of(n + i * stride));
        for (size_t i = 0; i < times && call % 8 == 2; ++i) {
            remove(find(name_of(n + i * stride)), false);
        }
        if (call % 8 == 3) remove(std::min(n, model.size()), true);
        if (call % 8 == 4) visit(visits[n % 4], n >= 768);
        if (call % 8 == 5) sort(n % 4 == 0 ? 0 : n);
        if (call % 8 == 6) copy();
        if (call % 8 == 7) {  // as when there is no memory for the index
            RakMemoryFree(std::exchange(chain->slots, nullptr));
            chain->slot_count = 0;
        }
        check();
    }

    explicit Subject(Input input) {
        while (input.left > 0) act(input);
        Shape::free(chain);
        for (Visit& visit : visits) {
            require(visit.walk == nullptr || visit.walk->next() == nullptr, "freed, and no walk");
        }
    }
};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    const unsigned shape = input.byte() % 3;
    if (shape == 0) Subject<PmxStringToStringMap, vel::log::StringToStringMap> map(input);
    if (shape == 1) Subject<PmxStringGroup, vel::log::StringGroup> group(input);
    if (shape == 2) Subject<PmxStringList, vel::log::StringList> list(input);
    return 0;
}
