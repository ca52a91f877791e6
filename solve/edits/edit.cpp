#include "solve/edits/edit.h"

#include <algorithm>

#include "solve/edits/overloaded.h"
#include "solve/edits/words.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

using Words = std::span<const std::string>;

Edit parseSense(Words words) {
  if (words[0] != "min" && words[0] != "max") throw InputError("\"" + words[0] + "\" is no sense: expected min or max");
  return edit::Sense{words[0] == "max"};
}

Edit parseAdd(Words words) { return edit::Add{words[0], std::make_shared<const TavFileModel>(TavReadModel(words[0]))}; }

constexpr EditVerb kVerbs[] = {
    {"set-bounds", "COLUMN LB UB",
     "New bounds of a column; -inf and inf stand for none. On a semi-continuous column LB is the threshold.", 3,
     [](Words w) -> Edit {
       return edit::Bounds{w[0], numberOf(w[1]), numberOf(w[2])};
     }},
    {"fix", "COLUMN VALUE", "Fixes a column at a value.", 2,
     [](Words w) -> Edit {
       return edit::Fix{w[0], numberOf(w[1])};
     }},
    {"set-coef", "ROW COLUMN VALUE", "New linear coefficient; ROW may be the objective's name.", 3,
     [](Words w) -> Edit {
       return edit::Coef{w[0], w[1], numberOf(w[2])};
     }},
    {"set-row-bounds", "ROW LB UB", "New bounds of a row.", 3,
     [](Words w) -> Edit {
       return edit::RowBounds{w[0], numberOf(w[1]), numberOf(w[2])};
     }},
    {"set-sense", "min|max", "New sense of the objective.", 1, parseSense},
    {"remove", "COLUMN", "Removes a column from the model.", 1, [](Words w) -> Edit { return edit::Remove{w[0]}; }},
    {"add", "FILE",
     "Adds the rows and columns of a model file. A column that the model has is meant by its name and keeps its "
     "bounds; "
     "the linear objective of the file is added to that of the model.",
     1, parseAdd},
};

}  // namespace

std::span<const EditVerb> editVerbs() { return kVerbs; }

const EditVerb* findVerb(std::string_view name) {
  const auto found =
      std::find_if(std::begin(kVerbs), std::end(kVerbs), [&](const EditVerb& v) { return v.name == name; });
  return found == std::end(kVerbs) ? nullptr : found;
}

std::string describe(const Edit& edit) {
  return std::visit(Overloaded{
                        [](const edit::Bounds& e) {
                          return "set-bounds " + quotedName(e.column) + " " + text(e.lb) + " " + text(e.ub);
                        },
                        [](const edit::Fix& e) { return "fix " + quotedName(e.column) + " " + text(e.value); },
                        [](const edit::Coef& e) {
                          return "set-coef " + quotedName(e.row) + " " + quotedName(e.column) + " " + text(e.value);
                        },
                        [](const edit::RowBounds& e) {
                          return "set-row-bounds " + quotedName(e.row) + " " + text(e.lb) + " " + text(e.ub);
                        },
                        [](const edit::Sense& e) { return std::string("set-sense ") + (e.maximise ? "max" : "min"); },
                        [](const edit::Remove& e) { return "remove " + quotedName(e.column); },
                        [](const edit::Add& e) { return "add " + quotedName(e.path); },
                    },
                    edit);
}

Edit parseEdit(std::span<const std::string> words) {
  const EditVerb* verb = findVerb(words[0]);
  if (!verb) throw InputError("\"" + words[0] + "\" is no edit");
  if (words.size() != verb->operandCount + 1) {
    throw InputError(std::string("expected ") + verb->name + " " + verb->operands);
  }
  try {
    return verb->parse(words.subspan(1));
  } catch (const InputError& error) {
    throw InputError(std::string(verb->name) + ": " + error.what());
  }
}

void parseEdits(std::string_view text, const std::string& file, std::vector<EditStage>& stages) {
  CommandReader commands(text, file);
  std::vector<std::string> words;
  while (commands.next(words)) {
    if (words[0] == "then" && words.size() == 1) {
      stages.emplace_back();
      continue;
    }
    try {
      stages.back().push_back(parseEdit(words));
    } catch (const InputError& error) {
      commands.fail(error.what());
    }
  }
}

}  // namespace tavsolve
