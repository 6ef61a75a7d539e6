// Typed access to a Variant's value.
#include "tympora/node/variant.hpp"

#include "tympora/node/error.hpp"

namespace tympora {

template <class T>
const T& Variant::Get() const {
  if (const T* p = std::get_if<T>(&v_)) return *p;
  RaisePlatformError(kErrTypeMismatch);
}

int16_t Variant::AsInt16() const { return Get<int16_t>(); }
int32_t Variant::AsInt32() const { return Get<int32_t>(); }
double Variant::AsDouble() const { return Get<double>(); }
Date Variant::AsDate() const { return Get<Date>(); }
const std::string& Variant::AsString() const { return Get<std::string>(); }
bool Variant::AsBool() const { return Get<bool>(); }
const ObjectPtr& Variant::AsObject() const { return Get<ObjectPtr>(); }

}  // namespace tympora
