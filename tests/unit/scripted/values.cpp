#include <ostream>

#include "scripted.hpp"

namespace scripted {
namespace {

void quote(std::ostream& out, const std::string& string)
{
    constexpr std::size_t longest = 200;
    out << '"' << string.substr(0, longest) << '"';
    if (string.size() > longest) {
        out << "... (" << string.size() << " bytes)";
    }
}

struct Printer {
    std::ostream& out;

    void operator()(const Int32& v) const { out << "i32(" << v.value << ')'; }
    void operator()(const Int64& v) const { out << "i64(" << v.value << ')'; }
    void operator()(const Flag& v) const { out << "flag(" << (v.value ? "true" : "false") << ')'; }
    void operator()(const Count& v) const { out << "count(" << v.value << ')'; }
    void operator()(const Text& v) const
    {
        if (!v.value) {
            out << "no_text()";
            return;
        }
        out << "text(";
        quote(out, *v.value);
        out << ')';
    }
    void operator()(const Dictionary& v) const
    {
        if (!v.items) {
            out << "no_bundle()";
            return;
        }
        out << "bundle_of({";
        const char* separator = "";
        for (const auto& [key, item] : *v.items) {
            out << separator << '{';
            quote(out, key);
            out << ", ";
            std::visit(*this, item);
            out << '}';
            separator = ", ";
        }
        out << "})";
    }
    void operator()(const std::string& item) const { quote(out, item); }
    void operator()(const Strings& item) const
    {
        out << "Strings{";
        const char* separator = "";
        for (const std::string& string : item) {
            out << separator;
            quote(out, string);
            separator = ", ";
        }
        out << '}';
    }
    void operator()(const Bytes& item) const { out << "Bytes of " << item.size(); }
};

}  // namespace

Value i32(int value)
{
    return Int32{value};
}

Value i64(long long value)
{
    return Int64{value};
}

Value flag(bool value)
{
    return Flag{value};
}

Value text(std::string value)
{
    return Text{std::move(value)};
}

Value no_text()
{
    return Text{};
}

Value bundle_of(BundleItems items)
{
    return Dictionary{std::move(items)};
}

Value no_bundle()
{
    return Dictionary{};
}

Value count(int value)
{
    return Count{value};
}

Value trusted_count(int value)
{
    return Count{value, true};
}

std::ostream& operator<<(std::ostream& out, const Value& value)
{
    std::visit(Printer{out}, value);
    return out;
}

Values::Piece::Piece(Value value) : values{std::move(value)} {}

Values::Piece::Piece(const Values& more) : values(more.values_) {}

Values::Values(std::initializer_list<Piece> pieces)
{
    for (const Piece& piece : pieces) {
        values_.insert(values_.end(), piece.values.begin(), piece.values.end());
    }
}

void Values::add(const Values& more)
{
    values_.insert(values_.end(), more.begin(), more.end());
}

Values Values::first(std::size_t how_many) const
{
    Values cut;
    for (std::size_t i = 0; i < how_many && i < values_.size(); ++i) {
        cut.add(values_[i]);
    }
    return cut;
}

std::ostream& operator<<(std::ostream& out, const Values& values)
{
    out << '{';
    const char* separator = "";
    for (const Value& value : values) {
        out << separator << value;
        separator = ", ";
    }
    return out << '}';
}

Values texts(const Strings& strings)
{
    Values values{count(static_cast<int>(strings.size()))};
    for (const std::string& string : strings) {
        values.add(text(string));
    }
    return values;
}

Values delegate(int id, int seq_id, bool once)
{
    return {i32(id), i32(seq_id), flag(once)};
}

Values result(int status, const Values& outs)
{
    return {i32(0), outs, i32(status)};
}

Values callback(int id, int seq_id, bool once, const Values& parameters)
{
    return {i32(1), delegate(id, seq_id, once), parameters};
}

}  // namespace scripted
