// The visual format language of LayoutConstraint.

#include <cctype>
#include <cstdlib>
#include <optional>

#include "platform/Error.h"
#include "platform/ui/LayoutConstraint.h"

namespace velune::ui {

namespace {

constexpr double kStandardSpacing = 8;
constexpr double kStandardEdgeSpacing = 20;

struct Predicate {
  LayoutRelation relation = LayoutRelation::Equal;
  std::optional<double> constant;
  std::string viewName;  // the object of the predicate when it is a view
  LayoutPriority priority = kLayoutPriorityRequired;
};

struct Connection {
  std::vector<Predicate> predicates;  // empty: adjacent (0)
  bool standard = false;              // "-" alone
};

struct ViewTerm {
  std::string name;
  std::vector<Predicate> predicates;
};

class Parser {
 public:
  Parser(std::string_view text, const LayoutConstraint::MetricMap& metrics) : text_(text), metrics_(metrics) {}

  std::optional<std::string> error;

  bool atEnd() const { return pos_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[pos_]; }
  bool take(char c) {
    if (peek() == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  bool take(std::string_view s) {
    if (text_.substr(pos_, s.size()) == s) {
      pos_ += s.size();
      return true;
    }
    return false;
  }
  void skipSpaces() {
    while (!atEnd() && std::isspace(static_cast<unsigned char>(peek()))) {
      ++pos_;
    }
  }
  bool fail(const std::string& message) {
    if (!error) {
      error = message + " at offset " + std::to_string(pos_) + " of \"" + std::string(text_) + "\"";
    }
    return false;
  }

  std::optional<std::string> name() {
    const size_t start = pos_;
    if (!atEnd() && (std::isalpha(static_cast<unsigned char>(peek())) || peek() == '_')) {
      ++pos_;
      while (!atEnd() && (std::isalnum(static_cast<unsigned char>(peek())) || peek() == '_')) {
        ++pos_;
      }
      return std::string(text_.substr(start, pos_ - start));
    }
    return std::nullopt;
  }

  std::optional<double> number() {
    const size_t start = pos_;
    if (peek() == '-' || peek() == '+') {
      ++pos_;
    }
    bool digits = false;
    while (!atEnd() && (std::isdigit(static_cast<unsigned char>(peek())) || peek() == '.')) {
      digits = true;
      ++pos_;
    }
    if (!digits) {
      pos_ = start;
      return std::nullopt;
    }
    const std::string token(text_.substr(start, pos_ - start));
    char* end = nullptr;
    const double value = std::strtod(token.c_str(), &end);
    if (end == nullptr || *end != '\0') {
      pos_ = start;
      return std::nullopt;
    }
    return value;
  }

  // A number or the name of a metric.
  std::optional<double> constantOrMetric(bool* wasName = nullptr, std::string* nameOut = nullptr) {
    if (auto n = number()) {
      return n;
    }
    const size_t start = pos_;
    if (auto word = name()) {
      const auto found = metrics_.find(*word);
      if (found != metrics_.end()) {
        return found->second;
      }
      if (wasName != nullptr && nameOut != nullptr) {
        *wasName = true;
        *nameOut = *word;
        return std::nullopt;
      }
      pos_ = start;
    }
    return std::nullopt;
  }

  bool predicate(Predicate& out, bool allowViews) {
    skipSpaces();
    if (take("==")) {
      out.relation = LayoutRelation::Equal;
    } else if (take("<=")) {
      out.relation = LayoutRelation::LessThanOrEqual;
    } else if (take(">=")) {
      out.relation = LayoutRelation::GreaterThanOrEqual;
    }
    skipSpaces();
    bool isName = false;
    std::string word;
    if (auto value = constantOrMetric(&isName, &word)) {
      out.constant = value;
    } else if (isName && allowViews) {
      out.viewName = word;
    } else if (isName) {
      return fail("unknown metric \"" + word + "\"");
    } else {
      return fail("expected a number, a metric or a view");
    }
    skipSpaces();
    if (take('@')) {
      skipSpaces();
      auto priority = constantOrMetric();
      if (!priority) {
        return fail("expected a priority");
      }
      out.priority = static_cast<LayoutPriority>(*priority);
    }
    return true;
  }

  // "(p, p, ...)" or, when `simpleAllowed`, a bare number or metric.
  bool predicateList(std::vector<Predicate>& out, bool allowViews, bool simpleAllowed) {
    if (take('(')) {
      do {
        Predicate p;
        if (!predicate(p, allowViews)) {
          return false;
        }
        out.push_back(p);
        skipSpaces();
      } while (take(','));
      if (!take(')')) {
        return fail("expected \")\"");
      }
      return true;
    }
    if (simpleAllowed) {
      if (auto value = constantOrMetric()) {
        Predicate p;
        p.constant = value;
        out.push_back(p);
        return true;
      }
    }
    return fail("expected a predicate");
  }

  // After a "-": either "-" alone (standard) or "-predicates-".
  bool connection(Connection& out) {
    if (!take('-')) {
      return true;  // adjacent
    }
    if (peek() == '[' || peek() == '|') {
      out.standard = true;
      return true;
    }
    if (!predicateList(out.predicates, false, true)) {
      return false;
    }
    if (!take('-')) {
      return fail("expected \"-\" after the spacing");
    }
    return true;
  }

  bool view(ViewTerm& out) {
    if (!take('[')) {
      return fail("expected \"[\"");
    }
    auto word = name();
    if (!word) {
      return fail("expected a view name");
    }
    out.name = *word;
    if (peek() == '(') {
      if (!predicateList(out.predicates, true, false)) {
        return false;
      }
    }
    if (!take(']')) {
      return fail("expected \"]\"");
    }
    return true;
  }

 private:
  std::string_view text_;
  const LayoutConstraint::MetricMap& metrics_;
  size_t pos_ = 0;
};

platform::Error formatError(const std::string& message) {
  return platform::Error("VisualFormatErrorDomain", 1,
                         {{std::string(platform::kLocalizedDescriptionKey), platform::Value(message)}});
}

}  // namespace

platform::Result<std::vector<std::shared_ptr<LayoutConstraint>>> LayoutConstraint::constraintsWithVisualFormat(
    std::string_view format, const MetricMap& metrics, const ViewMap& views) {
  std::string compact;
  for (const char c : format) {
    if (!std::isspace(static_cast<unsigned char>(c))) {
      compact.push_back(c);
    }
  }
  Parser parser(compact, metrics);
  bool vertical = false;
  if (parser.take("V:")) {
    vertical = true;
  } else {
    parser.take("H:");
  }
  const LayoutAttribute leading = vertical ? LayoutAttribute::Top : LayoutAttribute::Leading;
  const LayoutAttribute trailing = vertical ? LayoutAttribute::Bottom : LayoutAttribute::Trailing;
  const LayoutAttribute size = vertical ? LayoutAttribute::Height : LayoutAttribute::Width;

  bool leadingEdge = false;
  Connection leadingConnection;
  if (parser.take('|')) {
    leadingEdge = true;
    if (!parser.connection(leadingConnection)) {
      return formatError(*parser.error);
    }
  }
  std::vector<ViewTerm> terms;
  std::vector<Connection> connections;  // between terms[i] and terms[i + 1]
  bool trailingEdge = false;
  Connection trailingConnection;
  while (true) {
    ViewTerm term;
    if (!parser.view(term)) {
      return formatError(*parser.error);
    }
    terms.push_back(term);
    if (parser.atEnd()) {
      break;
    }
    Connection next;
    if (!parser.connection(next)) {
      return formatError(*parser.error);
    }
    if (parser.take('|')) {
      trailingEdge = true;
      trailingConnection = next;
      break;
    }
    connections.push_back(next);
  }
  if (!parser.atEnd()) {
    return formatError("unexpected text after the last view in \"" + compact + "\"");
  }

  auto lookup = [&views](const std::string& name) -> std::shared_ptr<View> {
    const auto found = views.find(name);
    return found == views.end() ? nullptr : found->second;
  };
  for (const auto& term : terms) {
    if (!lookup(term.name)) {
      return formatError("no view named \"" + term.name + "\" in \"" + compact + "\"");
    }
  }

  std::vector<std::shared_ptr<LayoutConstraint>> made;
  auto add = [&made](std::shared_ptr<LayoutConstraint> c, LayoutPriority priority) {
    c->setPriority(priority);
    made.push_back(std::move(c));
  };
  // Spacing: later.leading REL earlier.trailing + constant.
  auto space = [&](const std::shared_ptr<View>& earlier, LayoutAttribute earlierAttribute,
                   const std::shared_ptr<View>& later, LayoutAttribute laterAttribute, const Connection& connection,
                   double standard) -> std::optional<std::string> {
    if (connection.predicates.empty()) {
      add(make(later, laterAttribute, LayoutRelation::Equal, earlier, earlierAttribute, 1,
               connection.standard ? standard : 0),
          kLayoutPriorityRequired);
      return std::nullopt;
    }
    for (const auto& p : connection.predicates) {
      add(make(later, laterAttribute, p.relation, earlier, earlierAttribute, 1, p.constant.value_or(0)), p.priority);
    }
    return std::nullopt;
  };

  for (const auto& term : terms) {
    auto view = lookup(term.name);
    for (const auto& p : term.predicates) {
      if (!p.viewName.empty()) {
        auto other = lookup(p.viewName);
        if (!other) {
          return formatError("no view named \"" + p.viewName + "\" in \"" + compact + "\"");
        }
        add(make(view, size, p.relation, other, size, 1, 0), p.priority);
      } else {
        add(make(view, size, p.relation, nullptr, LayoutAttribute::NotAnAttribute, 1, p.constant.value_or(0)),
            p.priority);
      }
    }
  }
  if (leadingEdge) {
    auto first = lookup(terms.front().name);
    auto superview = first->superview();
    if (!superview) {
      return formatError("\"|\" needs \"" + terms.front().name + "\" to have a superview");
    }
    space(superview, leading, first, leading, leadingConnection, kStandardEdgeSpacing);
  }
  for (size_t i = 0; i < connections.size(); ++i) {
    space(lookup(terms[i].name), trailing, lookup(terms[i + 1].name), leading, connections[i], kStandardSpacing);
  }
  if (trailingEdge) {
    auto last = lookup(terms.back().name);
    auto superview = last->superview();
    if (!superview) {
      return formatError("\"|\" needs \"" + terms.back().name + "\" to have a superview");
    }
    space(last, trailing, superview, trailing, trailingConnection, kStandardEdgeSpacing);
  }
  return made;
}

}  // namespace velune::ui
