-- Flat dictionaries.
CREATE TABLE KMDJLDW (
  单位ID INTEGER PRIMARY KEY,
  代码 TEXT,
  名称 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDJLDW (单位ID, 代码, 名称, 是否系统) VALUES
  (1, 'PCS', '个', 1),
  (2, 'KG', '千克', 0),
  (3, 'M', '米', 0),
  (4, 'BOX', '箱', 0);
