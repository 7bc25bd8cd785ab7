// Typed access to tickets: every container goes through a ticket's table in one batch, built here from its elements and
// taken apart again. File names get forward slashes on their way in and out.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "Common/Src/Attempt.h"
#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/TicketAccess.h"

namespace {

// How a batch record holds an element.
template <PARAM_TYPE CODE, bool BY_ADDRESS = true>
struct ELEMENT_AS {
    static constexpr PARAM_TYPE code = CODE;
    // Whether a written record holds the element's address, or the pointer that the element itself is.
    static constexpr bool byAddress = BY_ADDRESS;
};

template <typename T>
struct ELEMENT;
template <>
struct ELEMENT<void*> : ELEMENT_AS<PARAM_POINTER, false> {};
template <>
struct ELEMENT<int> : ELEMENT_AS<PARAM_INT> {};
template <>
struct ELEMENT<double> : ELEMENT_AS<PARAM_DOUBLE> {};
template <>
struct ELEMENT<char const*> : ELEMENT_AS<PARAM_STRING, false> {};
template <>
struct ELEMENT<long long> : ELEMENT_AS<PARAM_INT64> {};
template <>
struct ELEMENT<unsigned int> : ELEMENT_AS<PARAM_UNSIGNED> {};
template <>
struct ELEMENT<unsigned long long> : ELEMENT_AS<PARAM_UINT64> {};

struct FREE {
    void operator()(void* memory) const { std::free(memory); }
};
using GET_BATCH = std::unique_ptr<GETMULTIPAR[], FREE>;
using SET_BATCH = std::unique_ptr<SETMULTIPAR[], FREE>;

void NormaliseFilename(std::string& fileName) {
    CharSets::DBCS::ReplaceAll(fileName, '\\', '/');
}

template <typename T>
void RunGetBatch(STICKET_ACCESS const& access, GETMULTIPAR* batch, T* elements, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) batch[i].value = elements + i;
    access.GetMultiParameter(access.pTicket, batch);
}

// Reads the elements that can be converted. False, with `value` unchanged, if there are no elements or memory is short.
template <typename T>
bool ReadElements(STICKET_ACCESS const& access, char const* key, std::vector<T>& value) {
    uint64_t count = 0;
    if (!access.GetParameter(access.pTicket, key, PARAM_VECTOR, &count, SCALAR_INDEX) || count == 0) return false;
    GET_BATCH const batch(NewGetMultipar(count, key, ELEMENT<T>::code));
    if (!batch) return false;

    value.resize(count);
    RunGetBatch(access, batch.get(), value.data(), count);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (batch[i].result) value[kept++] = value[i];
    }
    value.resize(kept);
    return true;
}

template <typename T>
bool xGetVectorParameter(STICKET_ACCESS const& access, char const* key, std::vector<T>& value) {
    return Attempt([&] { return ReadElements(access, key, value) && !value.empty(); });
}

template <typename T>
bool xGetArrayParameter(STICKET_ACCESS const& access, char const* key, T* array, unsigned long count) {
    if (!key || !array || count == 0) return false;
    GET_BATCH const batch(NewGetMultipar(count, key, ELEMENT<T>::code));
    if (!batch) return false;
    RunGetBatch(access, batch.get(), array, count);
    return AllMultiParameterOk(batch.get());
}

template <typename T>
bool xSetArrayParameter(STICKET_ACCESS const& access, char const* key, T const* array, unsigned long count) {
    if (count == 0) {
        access.SetParameter(access.pTicket, key, PARAM_NONE, nullptr, SCALAR_INDEX);
        return true;
    }
    if (!key || !array) return false;
    SET_BATCH const batch(NewSetMultipar(count, key, ELEMENT<T>::code));
    if (!batch) return false;
    for (unsigned long i = 0; i < count; ++i) {
        if constexpr (ELEMENT<T>::byAddress) {
            batch[i].value = array + i;
        } else {
            batch[i].value = array[i];
        }
    }
    access.SetMultiParameter(access.pTicket, batch.get());
    return AllMultiParameterOk(batch.get());
}

template <typename T>
bool xSetVectorParameter(STICKET_ACCESS const& access, char const* key, std::vector<T> const& value) {
    return xSetArrayParameter(access, key, value.data(), value.size());
}

}  // namespace

bool STICKET_READ::GetParameter(char const* key, std::string& value, int index) const {
    char const* text = nullptr;
    bool const read = Attempt([&] {
        if (!m_access.GetParameter(m_access.pTicket, key, PARAM_STRING, &text, index) || !text) return false;
        value = text;
        return true;
    });
    if (!read) value.clear();
    return read;
}

bool STICKET_READ::GetFilenameParameterChk_C(char const* key, std::string& value, int index) const {
    bool const read = GetParameter(key, value, index);
    NormaliseFilename(value);
    return read;
}

bool STICKET_READ::WhoAmI(STICKET_OPTION_WHOAMI& who) const {
    if (m_access.Operation(m_access.pTicket, STICKET_OP_WHOAMI, &who)) return true;
    who = {nullptr, -1, -1};
    return false;
}

bool STICKET_READ::GetVectorParameter(char const* key, std::vector<bool>& value) const {
    return Attempt([&] {
        std::vector<int> numbers;
        if (!ReadElements(m_access, key, numbers)) return false;
        value.resize(numbers.size());
        std::transform(numbers.begin(), numbers.end(), value.begin(), [](int number) { return number != 0; });
        return !value.empty();
    });
}

bool STICKET_READ::GetVectorParameter(char const* key, std::vector<std::string>& value) const {
    return Attempt([&] {
        std::vector<char const*> texts;
        if (!ReadElements(m_access, key, texts)) return false;
        texts.erase(std::remove(texts.begin(), texts.end(), nullptr), texts.end());
        value = std::vector<std::string>(texts.begin(), texts.end());
        return !value.empty();
    });
}

bool STICKET_READ::GetFilenameVectorParameter_C(char const* key, std::vector<std::string>& value) const {
    if (!GetVectorParameter(key, value)) return false;
    std::for_each(value.begin(), value.end(), NormaliseFilename);
    return true;
}

bool STICKET_READ::GetArrayParameter(char const* key, bool* array, unsigned long count) const {
    if (!array) return false;
    return Attempt([&] {
        std::vector<int> numbers(count);
        bool const read = xGetArrayParameter(m_access, key, numbers.data(), count);
        std::transform(numbers.begin(), numbers.end(), array, [](int number) { return number != 0; });
        return read;
    });
}

bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<bool> const& value) const {
    return Attempt([&] { return xSetVectorParameter(m_access, key, std::vector<int>(value.begin(), value.end())); });
}

bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<std::string> const& value) const {
    return Attempt([&] {
        std::vector<char const*> texts;
        texts.reserve(value.size());
        for (std::string const& text : value) texts.push_back(text.c_str());
        return xSetVectorParameter(m_access, key, texts);
    });
}

bool STICKET_MODIFY::SetFilenameVectorParameter(char const* key, std::vector<std::string> const& value) const {
    return Attempt([&] {
        std::vector<std::string> fileNames;
        FilenamesToTicket(fileNames, value);
        return SetVectorParameter(key, fileNames);
    });
}

bool STICKET_MODIFY::SetArrayParameter(char const* key, bool const* array, unsigned long count) const {
    if (!array && count != 0) return false;
    return Attempt([&] { return xSetVectorParameter(m_access, key, std::vector<int>(array, array + count)); });
}

// The element types that need no conversion.
// clang-format off
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<void*>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<int>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<unsigned int>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<long long>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<unsigned long long>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<double>& value) const { return xGetVectorParameter(m_access, key, value); }
bool STICKET_READ::GetVectorParameter(char const* key, std::vector<char const*>& value) const { return xGetVectorParameter(m_access, key, value); }

bool STICKET_READ::GetArrayParameter(char const* key, void** array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, int* array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, unsigned int* array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, long long* array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, unsigned long long* array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, double* array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }
bool STICKET_READ::GetArrayParameter(char const* key, char const** array, unsigned long count) const { return xGetArrayParameter(m_access, key, array, count); }

bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<void*> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<int> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<unsigned int> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<long long> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<unsigned long long> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<double> const& value) const { return xSetVectorParameter(m_access, key, value); }
bool STICKET_MODIFY::SetVectorParameter(char const* key, std::vector<char const*> const& value) const { return xSetVectorParameter(m_access, key, value); }

bool STICKET_MODIFY::SetArrayParameter(char const* key, void* const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, int const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, unsigned int const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, long long const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, unsigned long long const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, double const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
bool STICKET_MODIFY::SetArrayParameter(char const* key, char const* const* array, unsigned long count) const { return xSetArrayParameter(m_access, key, array, count); }
// clang-format on

std::string FilenameToTicket(std::string const& fileName) {
    std::string result(fileName);
    NormaliseFilename(result);
    return result;
}

std::string FilenameFromTicket_C(std::string const& fileName) {
    return FilenameToTicket(fileName);
}

void FilenamesToTicket(std::vector<std::string>& out, std::vector<std::string> const& in) {
    if (&out != &in) out = in;
    for (std::string& fileName : out) NormaliseFilename(fileName);
}
