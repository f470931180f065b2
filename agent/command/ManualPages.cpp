#include "agent/command/ManualPages.h"

#include "agent/command/Registry.h"
#include "agent/command/Tables.h"
#include "ShoalTunnel/Version.h"

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <system_error>

namespace Agent {

namespace {

constexpr std::string_view programName = "shoal-agent";

// Text as troff prints it. A plain "-" would become a hyphen, which cannot be searched for or
// copied into a shell; a dot or an apostrophe that begins a line would be taken for a request.
std::string troff(std::string_view text) {
   std::string escaped;
   for (char c : text) {
      switch (c) {
      case '\\':
         escaped += "\\e";
         break;
      case '-':
         escaped += "\\-";
         break;
      case '|':
         escaped += "|\\:"; // where a line may end
         break;
      default:
         escaped += c;
      }
   }
   return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string bold(std::string_view text) {
   return fmt::format("\\fB{}\\fR", troff(text));
}
std::string italic(std::string_view text) {
   return fmt::format("\\fI{}\\fR", troff(text));
}
std::string reference(std::string_view page, int section) {
   return fmt::format("{}({})", bold(page), section);
}
std::string pageName(CLI::App const& subcommand) {
   return fmt::format("{}-{}", programName, subcommand.get_name());
}

void begin(std::ostream& out, std::string_view page, int section, std::string_view summary) {
   std::string title;
   for (char c : page) {
      title += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
   }
   out << fmt::format(".TH {} {} \"\" \"TcamSharing {}\" \"TcamSharing\"\n", troff(title), section,
                      TCAM_SHARING_VERSION)
       // Long grammars do not fill lines, and no word of theirs has a hyphen of troff's.
       << ".ad l\n.nh\n.SH NAME\n"
       << fmt::format("{} \\- {}\n", troff(page), troff(summary));
}

void item(std::ostream& out, std::string_view head, std::string_view text) {
   out << ".TP\n" << head << "\n" << troff(text) << "\n";
}

std::vector<CLI::App const*> subcommandsOf(CLI::App const& app) {
   return app.get_subcommands([](CLI::App const* each) { return !each->get_name().empty(); });
}

// Its own options and those of its option groups, which are subcommands without a name.
std::vector<CLI::Option const*> optionsOf(CLI::App const& app) {
   std::vector<CLI::Option const*> options = app.get_options();
   for (CLI::App const* group :
        app.get_subcommands([](CLI::App const* each) { return each->get_name().empty(); })) {
      for (CLI::Option const* option : group->get_options()) {
         options.push_back(option);
      }
   }
   return options;
}

// "--inventory FILE", in the form of the page.
std::string usage(CLI::Option const& option) {
   if (option.get_positional()) {
      return italic(option.get_name(true));
   }
   std::string text;
   for (std::string const& name : option.get_snames()) {
      text += (text.empty() ? "" : ", ") + bold("-" + name);
   }
   for (std::string const& name : option.get_lnames()) {
      text += (text.empty() ? "" : ", ") + bold("--" + name);
   }
   bool takesValue = option.get_items_expected_max() > 0;
   return takesValue ? text + " " + italic(option.get_type_name()) : text;
}

void options(std::ostream& out, CLI::App const& app) {
   out << ".SH OPTIONS\n";
   for (CLI::Option const* option : optionsOf(app)) {
      item(out, usage(*option), option->get_description());
   }
}

void programPage(std::ostream& out, CLI::App const& program) {
   // The description begins with the name.
   std::string const& whole = program.get_description();
   begin(out, programName, 1, whole.substr(whole.find(": ") + 2));
   out << ".SH SYNOPSIS\n"
       << bold(programName) << " " << italic("COMMAND") << " [" << italic("OPTION") << "]...\n"
       << ".SH COMMANDS\n";
   for (CLI::App const* each : subcommandsOf(program)) {
      item(out, bold(each->get_name()), each->get_description());
   }
   options(out, program);
   out << ".SH EXIT STATUS\n" << troff(program.get_footer()) << "\n.SH SEE ALSO\n";
   for (CLI::App const* each : subcommandsOf(program)) {
      out << reference(pageName(*each), 1) << ",\n";
   }
   out << reference("shoal-agent-scenario", 5) << "\n";
}

void subcommandPage(std::ostream& out, CLI::App const& subcommand) {
   begin(out, pageName(subcommand), 1, subcommand.get_description());
   out << ".SH SYNOPSIS\n" << bold(programName) << " " << bold(subcommand.get_name()) << "\n";
   for (CLI::Option const* option : optionsOf(subcommand)) {
      out << (option->get_required() ? usage(*option) : "[" + usage(*option) + "]") << "\n";
   }
   options(out, subcommand);
   out << ".SH SEE ALSO\n"
       << reference(programName, 1) << ",\n"
       << reference("shoal-agent-scenario", 5) << "\n";
}

void scenarioPage(std::ostream& out) {
   begin(out, "shoal-agent-scenario", 5, "the commands of scenarios");
   out << ".SH DESCRIPTION\n"
       << troff("A scenario has one command per line. # starts a comment; quotes keep spaces. "
                "Words in capitals stand for a value, words in brackets may be left out, and a bar "
                "separates alternatives.")
       << "\n.SH COMMANDS\n";
   for (auto const& [name, command] : commandRegistry().commands()) {
      item(out, fmt::format("{} {}", bold(name), troff(command.grammar)), command.help);
   }
   out << ".SH TABLES\n";
   for (NamedTable const& table : namedTables()) {
      item(out, bold(table.name), table.help);
   }
   out << ".SH SEE ALSO\n"
       << reference(programName, 1) << ",\n"
       << reference("shoal-agent-run", 1) << "\n";
}

class Page {
 public:
   Page(std::string const& folder, std::string_view name, int section)
       : path_(fmt::format("{}/{}.{}", folder, name, section)), file_(path_) {}
   Page(Page const&) = delete;

   std::ostream& out() { return file_; }
   void close() {
      file_.close();
      if (!file_) {
         throw std::system_error(errno, std::generic_category(), path_);
      }
   }

 private:
   std::string path_;
   std::ofstream file_;
};

} // namespace

void writeManualPages(CLI::App const& program, std::string const& folder) {
   std::filesystem::create_directories(folder);
   Page own(folder, programName, 1);
   programPage(own.out(), program);
   own.close();
   for (CLI::App const* each : subcommandsOf(program)) {
      Page page(folder, pageName(*each), 1);
      subcommandPage(page.out(), *each);
      page.close();
   }
   Page scenario(folder, "shoal-agent-scenario", 5);
   scenarioPage(scenario.out());
   scenario.close();
}

} // namespace Agent
