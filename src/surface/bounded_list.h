// A list with the length limit of the surface's two lists. Passing the limit
// throws std::length_error("list<T> too long"), which nothing in the library
// catches: hosts see it as they would from the standard container.
#pragma once

#include <cstddef>
#include <list>
#include <stdexcept>

namespace tarn {

template <class T, size_t Limit>
class BoundedList : public std::list<T> {
public:
    static constexpr size_t kLimit = Limit;

    void push_back(const T& value) {
        Check();
        std::list<T>::push_back(value);
    }
    typename std::list<T>::iterator insert(typename std::list<T>::const_iterator at, const T& value) {
        Check();
        return std::list<T>::insert(at, value);
    }

private:
    void Check() const {
        if (this->size() >= Limit) throw std::length_error("list<T> too long");
    }
};

}  // namespace tarn
