#include "platform/catalogue/catalogue_writer.h"

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_schema.h"
#include "platform/catalogue/sqlite_file.h"

namespace catalogue {
namespace {

// 1 a structure, 2 raw text; 0 none.
std::uint32_t KindOfBody(const Model& model, std::int32_t structure) {
  if (structure == Command::kNoStructure) return 0;
  return IsTextStructure(model.structures[static_cast<std::size_t>(structure)].name) ? 2 : 1;
}

// Ids in the file count from 1.
std::int64_t IdOf(std::size_t index) { return static_cast<std::int64_t>(index) + 1; }

// Keeps the first status that is not 0; after it nothing is written any more.
class Writer {
 public:
  explicit Writer(const Model& model) : model_(model) {}

  std::uint32_t Write(std::string& bytes) {
    Note(file_.OpenInMemory());
    // Freed parts of pages are zeroed: nothing by chance gets into the file.
    Run("PRAGMA page_size=4096; PRAGMA secure_delete=ON; PRAGMA encoding='UTF-8'");
    Run(("PRAGMA application_id=" + std::to_string(kApplicationId)).c_str());
    const bool hasLengths = HasLengths(model_);
    const std::int32_t version = hasLengths ? kFormatVersionWithLengths : kFormatVersion;
    Run(("PRAGMA user_version=" + std::to_string(version)).c_str());
    Run("BEGIN");
    for (const TableRow& table : kTables) Run(table.sql);
    if (hasLengths) Run(kLengthTable.sql);
    WriteAbout();
    WriteEnumerations();
    WriteStructures();
    if (hasLengths) WriteLengths();
    WriteCommands();
    WriteHostWords();
    Run("INSERT INTO command_search(command_search) VALUES('rebuild')");
    Run("INSERT INTO command_search(command_search) VALUES('optimize')");
    Run("COMMIT");
    Run("VACUUM");
    if (status_ == 0) status_ = file_.Serialize(bytes);
    return status_;
  }

 private:
  void Note(std::uint32_t status) {
    if (status_ == 0) status_ = status;
  }
  void Run(const char* sql) {
    if (status_ == 0) status_ = file_.Run(sql);
  }
  void Prepare(SqliteStatement& statement, const char* sql) {
    if (status_ == 0) status_ = statement.Prepare(file_, sql);
  }
  void Execute(SqliteStatement& statement) {
    if (status_ == 0) status_ = statement.Execute();
  }

  void WriteAbout() {
    SqliteStatement insert;
    Prepare(insert, "INSERT INTO about VALUES(?,?,?,?)");
    const std::string fingerprint = FingerprintText(model_.fingerprint);
    insert.BindText(0, model_.name);
    insert.BindText(1, model_.text);
    insert.BindText(2, fingerprint);
    insert.BindNumber(3, static_cast<std::int64_t>(model_.commands.size()));
    Execute(insert);
  }

  void WriteEnumerations() {
    SqliteStatement insert;
    SqliteStatement insertValue;
    Prepare(insert, "INSERT INTO enumeration VALUES(?,?,?,?)");
    Prepare(insertValue, "INSERT INTO enumeration_value VALUES(?,?,?,?,?)");
    for (std::size_t i = 0; status_ == 0 && i < model_.enumerations.size(); ++i) {
      const Enumeration& enumeration = model_.enumerations[i];
      insert.BindNumber(0, IdOf(i));
      insert.BindText(1, enumeration.name);
      insert.BindText(2, ScalarName(enumeration.base));
      insert.BindText(3, enumeration.text);
      Execute(insert);
      for (std::size_t v = 0; status_ == 0 && v < enumeration.values.size(); ++v) {
        const EnumerationValue& value = enumeration.values[v];
        insertValue.BindNumber(0, IdOf(i));
        insertValue.BindNumber(1, IdOf(v));
        insertValue.BindText(2, value.name);
        insertValue.BindNumber(3, static_cast<std::int64_t>(value.value));
        insertValue.BindText(4, value.text);
        Execute(insertValue);
      }
    }
  }

  void WriteStructures() {
    SqliteStatement insert;
    SqliteStatement insertField;
    Prepare(insert, "INSERT INTO structure VALUES(?,?,?,?,?,?)");
    Prepare(insertField, "INSERT INTO field VALUES(?,?,?,?,?,?,?,?,?)");
    for (std::size_t i = 0; status_ == 0 && i < model_.structures.size(); ++i) {
      const Structure& structure = model_.structures[i];
      insert.BindNumber(0, IdOf(i));
      insert.BindText(1, structure.name);
      insert.BindText(2, structure.text);
      insert.BindText(3, structure.natural ? "natural" : "packed");
      insert.BindNumber(4, structure.sizeBytes);
      // Without the zeros at the end.
      const std::size_t last = structure.defaults.find_last_not_of('\0');
      insert.BindBytes(5, std::string_view(structure.defaults).substr(0, last + 1));
      Execute(insert);
      for (std::size_t f = 0; status_ == 0 && f < structure.fields.size(); ++f) {
        insertField.BindNumber(0, IdOf(i));
        insertField.BindNumber(1, IdOf(f));
        BindField(insertField, structure.fields[f]);
        Execute(insertField);
      }
    }
  }

  void BindField(SqliteStatement& insert, const Field& field) {
    insert.BindText(2, field.name);
    insert.BindText(3, field.text);
    for (int column = 4; column <= 7; ++column) insert.BindNull(column);
    switch (field.kind) {
      case FieldKind::kScalar:
        insert.BindText(4, ScalarName(field.scalar));
        break;
      case FieldKind::kEnumeration:
        insert.BindNumber(5, IdOf(field.reference));
        break;
      case FieldKind::kStructure:
        insert.BindNumber(6, IdOf(field.reference));
        break;
    }
    if (field.isArray) insert.BindNumber(7, field.count);
    insert.BindNumber(8, field.offsetBytes);
  }

  void WriteLengths() {
    SqliteStatement insert;
    Prepare(insert, "INSERT INTO field_length VALUES(?,?,?)");
    for (std::size_t i = 0; status_ == 0 && i < model_.structures.size(); ++i) {
      const std::vector<Field>& fields = model_.structures[i].fields;
      for (std::size_t f = 0; status_ == 0 && f < fields.size(); ++f) {
        if (fields[f].lengthOf == Field::kNoField) continue;
        insert.BindNumber(0, IdOf(i));
        insert.BindNumber(1, IdOf(f));
        insert.BindNumber(2, IdOf(fields[f].lengthOf));
        Execute(insert);
      }
    }
  }

  void WriteCommands() {
    SqliteStatement insert;
    SqliteStatement insertText;
    Prepare(insert, "INSERT INTO command VALUES(?,?,?,?,?,?,?,?,?,?)");
    Prepare(insertText, "INSERT INTO combined_text VALUES(?,?,?)");
    for (std::size_t i = 0; status_ == 0 && i < model_.commands.size(); ++i) {
      const Command& command = model_.commands[i];
      const std::string fingerprint = FingerprintText(command.fingerprint);
      insert.BindNumber(0, IdOf(i));
      insert.BindNumber(1, command.id);
      insert.BindText(2, command.name);
      insert.BindText(3, command.text);
      insert.BindText(4, command.group);
      insert.BindNumber(5, FlagsOf(model_, command));
      BindStructure(insert, 6, command.request);
      BindStructure(insert, 7, command.confirmation);
      BindStructure(insert, 8, command.indication);
      insert.BindText(9, fingerprint);
      Execute(insert);
      for (std::size_t t = 0; status_ == 0 && t < command.combinedTexts.size(); ++t) {
        insertText.BindNumber(0, IdOf(i));
        insertText.BindNumber(1, IdOf(t));
        insertText.BindText(2, command.combinedTexts[t]);
        Execute(insertText);
      }
    }
  }

  static void BindStructure(SqliteStatement& insert, int parameter, std::int32_t structure) {
    if (structure == Command::kNoStructure) {
      insert.BindNull(parameter);
    } else {
      insert.BindNumber(parameter, IdOf(static_cast<std::size_t>(structure)));
    }
  }

  void WriteHostWords() {
    SqliteStatement insert;
    Prepare(insert, "INSERT INTO host_word VALUES(?)");
    for (const std::string& word : model_.hostWords) {
      if (status_ != 0) return;
      insert.BindText(0, word);
      Execute(insert);
    }
  }

  const Model& model_;
  SqliteFile file_;
  std::uint32_t status_ = 0;
};

}  // namespace

std::int64_t FlagsOf(const Model& model, const Command& command) {
  std::uint32_t flags = 0;
  if (command.listed) flags |= kFlagListed;
  if (command.IsSendable()) flags |= kFlagSendable;
  if (command.combined == Combined::kNone) flags |= kFlagCombinedNone;
  if (command.combined == Combined::kListed) flags |= kFlagCombinedListed;
  flags |= KindOfBody(model, command.confirmation) << kShiftCnfKind;
  flags |= KindOfBody(model, command.indication) << kShiftIndKind;
  return flags;
}

std::uint32_t WriteCatalogue(const Model& model, std::string& bytes) {
  bytes.clear();
  return Writer(model).Write(bytes);
}

}  // namespace catalogue
