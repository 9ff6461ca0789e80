-- Colour numbers: 数号 is the colour as a colour number (red + green * 256 + blue * 65536), or a
-- system colour (negative) as the picture showed it.
CREATE TABLE kmdcolor (
  色号ID INTEGER PRIMARY KEY,
  色号 TEXT,
  颜色 TEXT,
  数号 INTEGER
);
INSERT INTO kmdcolor (色号ID, 色号, 颜色, 数号) VALUES
  (1, 'K00', '黑色', 0),
  (2, 'W01', '白色', 16777215),
  (3, 'R01', '红色', 255),
  (4, 'B01', '蓝色', 16711680);
