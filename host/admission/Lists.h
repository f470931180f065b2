// Short lists, searched from end to end.
#pragma once

#include <algorithm>
#include <vector>

namespace ShoalHost {

template<class T>
bool contains(std::vector<T> const& list, T const& item) {
   return std::find(list.begin(), list.end(), item) != list.end();
}
template<class T>
void addOnce(std::vector<T>& list, T const& item) {
   if (!contains(list, item)) {
      list.push_back(item);
   }
}

} // namespace ShoalHost
