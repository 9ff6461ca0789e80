-- Colour numbers: 数号 is the colour as a colour number (red + green * 256 + blue * 65536).
CREATE TABLE kmdcolor (
  色号ID INTEGER PRIMARY KEY,
  色号 TEXT,
  颜色 TEXT,
  数号 INTEGER,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmdcolor (色号ID, 色号, 颜色, 数号, 是否系统) VALUES
  (1, 'K00', '黑色', 0, 1),
  (2, 'W01', '白色', 16777215, 0),
  (3, 'R01', '红色', 255, 0),
  (4, 'B01', '蓝色', 16711680, 0);
