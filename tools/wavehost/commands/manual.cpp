#include "wavehost/commands/manual.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

namespace vantor::wavehost {

namespace {

// The values of a check such as "{f64,f32}" or "{f32->1,f64->0}", which stands in the type's name.
std::vector<std::string> ChoicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const size_t open = type.find('{');
    const size_t close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) return {};
    auto choices = CLI::detail::split(type.substr(open + 1, close - open - 1), ',');
    for (auto& choice : choices)
        choice = choice.substr(0, choice.find("->"));
    return choices;
}

OptionFacts OptionFactsOf(const CLI::Option& option) {
    OptionFacts facts;
    if (option.nonpositional()) {
        for (const auto& name : option.get_snames())
            facts.names.push_back("-" + name);
        for (const auto& name : option.get_lnames())
            facts.names.push_back("--" + name);
    } else {
        facts.names.push_back(option.get_name(true));
    }
    facts.takesValue = option.get_items_expected_max() > 0;
    facts.choices = ChoicesOf(option);
    facts.isRequired = option.get_required();
    facts.isRepeated = option.get_items_expected_max() > 1;
    facts.help = option.get_description();
    return facts;
}

// An app without a name is a group of options of the one that it stands in.
void Add(CommandFacts& facts, const CLI::App& app) {
    for (const CLI::Option* option :
         app.get_options([](const CLI::Option* o) { return !o->get_group().empty(); }))
        (option->nonpositional() ? facts.options : facts.positionals).push_back(OptionFactsOf(*option));
    for (const CLI::App* sub :
         app.get_subcommands([](const CLI::App* a) { return !a->get_group().empty(); })) {
        if (sub->get_name().empty())
            Add(facts, *sub);
        else
            facts.commands.push_back(FactsOf(*sub, facts.path + " " + sub->get_name()));
    }
}

}  // namespace

CommandFacts FactsOf(const CLI::App& app, const std::string& path) {
    CommandFacts facts{path, app.get_description(), {}, {}, {}};
    Add(facts, app);
    return facts;
}

std::string NameOf(const CommandFacts& command) {
    return command.path.substr(command.path.rfind(' ') + 1);
}

void AddManual(CLI::App& app) {
    static const std::map<std::string, std::string (*)(const CommandFacts&)> forms = {
        {"man", ManualPage}, {"bash", BashCompletion}, {"zsh", ZshCompletion}, {"fish", FishCompletion}};
    app.add_option_function<std::string>(
           "--manual",
           [&app](const std::string& form) {
               const auto found = forms.find(form);
               if (found == forms.end()) throw CLI::ValidationError("--manual", "man, bash, zsh or fish");
               std::fputs(found->second(FactsOf(app, app.get_name())).c_str(), stdout);
               throw CLI::Success();
           })
        ->trigger_on_parse()
        ->group("");
}

}  // namespace vantor::wavehost
