#pragma once

#include <Kest/UniString.hpp>

namespace Host {

/// Is handed the fields of an attribute in the order of their declaration, each as a name and a value: one scalar, or a
/// list of values. A record in a list is a list of its own fields' values, without names.
class FieldVisitor {
public:
    /// The next value is that of the field \p name. A detail is shown only where there is room for everything.
    virtual void BeginField(const char* name, bool isDetail) = 0;

    virtual void Integer(int value) = 0;
    /// \param value  finite
    virtual void Real(double value) = 0;
    virtual void Boolean(bool value) = 0;
    virtual void Text(const Kest::UniString& value) = 0;
    /// The attribute \p index of the kind with ref id \p refId; 0 refers to none.
    virtual void Reference(unsigned int refId, short index) = 0;
    /// There is no value.
    virtual void Absent() = 0;

    virtual void BeginList() = 0;
    virtual void BeginRecord() = 0;
    /// Ends the list or the record that was begun last.
    virtual void End() = 0;

    virtual ~FieldVisitor() = default;
};

}   // namespace Host
