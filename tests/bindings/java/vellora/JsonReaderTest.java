package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertThrows;

import java.util.List;
import org.junit.Test;

/** Reads what the library writes, and refuses the rest. */
public final class JsonReaderTest {
  private static final String COLUMN = "{\"name\":\"N\",\"label\":\"L\",\"field\":\"F\"}";

  @Test
  public void textsAreReadWithTheirEscapes() {
    assertEquals("a\"\\/\b\f\n\r\tüé\uD83D\uDE00 z",
        JsonReader.whole("\"a\\\"\\\\\\/\\b\\f\\n\\r\\tü\\u00e9\\ud83d\\uDE00 z\"", JsonReader::text));
  }

  @Test
  public void numbersAndTruthValuesAreRead() {
    assertEquals(Long.valueOf(-12), JsonReader.whole(" -12 ", JsonReader::integer));
    assertEquals(Double.valueOf(1.5e3), JsonReader.whole("1.5e3", JsonReader::number));
    assertEquals(List.of(true, false), JsonReader.whole("[ true , false ]", json -> json.list(JsonReader::bool)));
  }

  @Test
  public void nullIsAbsentAndWhatIsNotKnownIsSkipped() {
    ObjectLayoutFieldMetadata column = ObjectLayoutFieldMetadata.fromJson(
        "{\"new\":{\"a\":[1,{\"b\":null}],\"c\":\"}\"},\"name\":\"N\",\"format\":null,\"label\":\"L\",\"field\":\"F\",\"x\":-1.5}");
    assertEquals(ObjectLayoutFieldMetadata.fromJson(COLUMN), column);
    assertFalse(column.getFormat().isPresent());
  }

  @Test
  public void recordsAreValues() {
    ObjectLayoutFieldMetadata one = ObjectLayoutFieldMetadata.fromJson(COLUMN);
    ObjectLayoutFieldMetadata other = ObjectLayoutFieldMetadata.fromJson(COLUMN.replace("\"F\"", "\"G\""));
    assertEquals(one.hashCode(), ObjectLayoutFieldMetadata.fromJson(COLUMN).hashCode());
    assertFalse(one.equals(other));
    assertEquals("ObjectLayoutFieldMetadata(name=N, label=L, format=null, field=G)", other.toString());
  }

  @Test
  public void anythingElseIsRefused() {
    for (String wrong : List.of("", "{", "{\"name\"", "{\"name\":", "[]", "{\"name\":1}", COLUMN + "}", "{\"name\":\"N\"}",
        COLUMN.replace("\"F\"", "\"\\x\""), COLUMN.replace("\"F\"", "\"\\u12g4\""), COLUMN.replace("\"F\"", "nul"),
        COLUMN.replace(",", " "), COLUMN.replace("{", "{,"), "null", "\u0000", "{\"a\":" + "[".repeat(600) + "]".repeat(600) + "}"))
      assertThrows(wrong, IllegalArgumentException.class, () -> ObjectLayoutFieldMetadata.fromJson(wrong));
    assertThrows(IllegalArgumentException.class, () -> ObjectLayoutFieldMetadata.fromJson(null));
  }
}
